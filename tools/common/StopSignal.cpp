#include "tools/common/StopSignal.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace koractl
{

StopSignal::StopSignal()
{
    sigset_t wanted{};
    sigemptyset(&wanted);
    sigaddset(&wanted, SIGINT);
    sigaddset(&wanted, SIGTERM);
    m_fd.reset(::signalfd(-1, &wanted, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!m_fd.isOpen())
    {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
    const int failure = ::pthread_sigmask(SIG_BLOCK, &wanted, &m_formerMask);
    if (failure != 0)
    {
        throw std::system_error(failure, std::generic_category(), "pthread_sigmask");
    }
}

StopSignal::~StopSignal()
{
    // A second Ctrl-C that is still pending would end the process as soon as the former mask is back.
    signalfd_siginfo signal{};
    while (::read(m_fd.get(), &signal, sizeof signal) > 0)
    {}
    (void)::pthread_sigmask(SIG_SETMASK, &m_formerMask, nullptr);
}

bool StopSignal::waitFor(std::chrono::milliseconds time)
{
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + time;
    while (!m_isStopped)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd entry{m_fd.get(), POLLIN, 0};
        const int timeout = left > 0 ? static_cast<int>(std::min<long long>(left, 60'000)) : 0;
        const int ready = ::poll(&entry, 1, timeout);
        if (ready < 0 && errno != EINTR)
        {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
        signalfd_siginfo signal{};
        if (ready > 0 && ::read(m_fd.get(), &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal))
        {
            m_isStopped = true;
        }
        else if (Clock::now() >= deadline)
        {
            break;
        }
    }
    return m_isStopped;
}

} // namespace koractl
