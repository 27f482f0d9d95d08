#pragma once

#include "tests/support/ChildProcess.h"

#include <memory>
#include <string>

namespace chaos
{

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
