#pragma once

#include "tests/support/ChildProcess.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace chaos
{

/// The real program, with what it prints read all the time: the last lines are kept, those that tell of an error in the
/// program or of a sanitizer are kept apart. Killed with the object.
class BridgeProcess
{
public:
    /// Lines that hold `countedText` are counted.
    explicit BridgeProcess(const std::vector<std::string>& arguments, std::string countedText = {},
                           std::map<std::string, std::string> environment = {});
    ~BridgeProcess();
    BridgeProcess(const BridgeProcess&) = delete;
    BridgeProcess& operator=(const BridgeProcess&) = delete;

    pid_t pid() const { return m_process->pid(); }
    bool isRunning() { return m_process->isRunning(); }
    void signal(int number) const { m_process->signal(number); }
    /// Ends it as a service manager does; its exit status, or nothing when it does not end in time.
    std::optional<int> stop(std::chrono::milliseconds deadline);

    std::size_t lineCount() const;
    std::size_t countedLines() const;
    std::vector<std::string> lastLines() const;
    /// Lines at level ERROR, complaints of the memory pools and reports of sanitizers, and what would do something else
    /// to a terminal than to draw a line.
    std::vector<std::string> errorLines() const;
    /// As if the program had printed it.
    void addLine(const std::string& line);

private:
    static constexpr std::size_t keptLines = 200;

    void readOutput();

    const std::string m_countedText;
    int m_output = -1;
    std::unique_ptr<testsupport::ChildProcess> m_process;
    mutable std::mutex m_mutex;
    std::deque<std::string> m_lastLines;
    std::vector<std::string> m_errorLines;
    std::size_t m_lineCount = 0;
    std::size_t m_countedLines = 0;
    std::thread m_reader;
};

/// The simulated router as a process of its own, so that it can be stopped and killed. Owned by one thread.
class RouterProcess
{
public:
    RouterProcess();
    ~RouterProcess();
    RouterProcess(const RouterProcess&) = delete;
    RouterProcess& operator=(const RouterProcess&) = delete;

    /// Starts a router in a partition; it knows nothing of what the one before it knew.
    void start(const std::string& partition);
    /// A line of its script. Not while it is stopped.
    void command(const std::string& line) const { m_process->write(line + "\n"); }
    /// It neither hears nor says anything until it is continued.
    void stop() const;
    void proceed() const;
    /// It is gone without a word.
    void kill() const;

private:
    int m_nowhere = -1;
    std::unique_ptr<testsupport::ChildProcess> m_process;
};

} // namespace chaos
