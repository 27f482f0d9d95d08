#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace testsupport
{

/// A program started by a test, with its standard output and error in files and its standard input on a pipe. Killed
/// and reaped with the object, and killed with the thread that made it, so that nothing outlives the test.
class ChildProcess
{
public:
    struct Options
    {
        std::map<std::string, std::string> environment; ///< added to the test's own
        bool closeInput = false;                        ///< standard input is /dev/null instead of a pipe
        bool outlivesThread = false;                    ///< not killed at the end of the thread that starts it
        /// Where standard output and error go instead of files; stays the caller's. -1: files.
        int output = -1;
    };

    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments, Options options);
    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments)
        : ChildProcess(program, arguments, Options{})
    {}
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return m_pid; }
    /// True while the program has not ended.
    bool isRunning();
    void signal(int number) const;
    /// Writes text to the program's standard input.
    void write(const std::string& text) const;
    /// Closes the program's standard input.
    void closeInput();
    /// The exit status (128 + signal number when a signal ended it), or nothing when the deadline passes first.
    std::optional<int> waitForExit(std::chrono::milliseconds deadline = std::chrono::seconds(20));
    /// All that the program has written so far.
    std::string output() const;
    std::string errors() const;
    /// Waits until the output (or the errors) hold a text.
    bool waitForOutput(const std::string& text, std::chrono::milliseconds deadline = std::chrono::seconds(10)) const;
    bool waitForErrors(const std::string& text, std::chrono::milliseconds deadline = std::chrono::seconds(10)) const;

private:
    pid_t m_pid = -1;
    int m_input = -1;
    std::optional<int> m_status;
    std::filesystem::path m_directory;
};

/// build/<preset>/bin/NAME of the build that the test belongs to.
std::filesystem::path programPath(const std::string& name);

/// A command as this machine can run it: where the build's programs need an emulator (KORABRIDGE_EMULATOR, a command
/// with its arguments), it stands in front of the first of them. The command may begin with others that start it.
std::vector<std::string> runnable(std::vector<std::string> words);

} // namespace testsupport
