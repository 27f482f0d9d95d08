#include "tests/chaos/RouterProcess.h"

#include <csignal>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace chaos
{

RouterProcess::RouterProcess() : m_nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC))
{
    if (m_nowhere < 0)
    {
        throw std::runtime_error("cannot open /dev/null");
    }
}

RouterProcess::~RouterProcess()
{
    m_process.reset();
    close(m_nowhere);
}

void RouterProcess::start(const std::string& partition)
{
    testsupport::ChildProcess::Options options;
    options.output = m_nowhere;
    options.outlivesThread = true; // the bursts at the end come after the disturbances
    m_process = std::make_unique<testsupport::ChildProcess>(
        testsupport::programPath("korasim"), std::vector<std::string>{"--frame", "17", "--partition", partition},
        options);
}

void RouterProcess::stop() const
{
    m_process->signal(SIGSTOP);
}

void RouterProcess::proceed() const
{
    m_process->signal(SIGCONT);
}

void RouterProcess::kill() const
{
    m_process->signal(SIGKILL);
    m_process->waitForExit();
}

} // namespace chaos
