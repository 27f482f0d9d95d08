#include "runtime/util/WakeEvent.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <thread>

namespace com::tallowcrest::util
{

namespace
{

/// For `poll`: rounded up, so that a wait never ends before its deadline.
int millisecondsUntil(WakeEvent::Clock::time_point deadline)
{
    constexpr std::chrono::milliseconds longest{std::numeric_limits<int>::max()};
    const auto left = deadline - WakeEvent::Clock::now();
    if (left >= longest)
    {
        return static_cast<int>(longest.count());
    }
    return std::max(0, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count()));
}

} // namespace

WakeEvent::WakeEvent() : m_fd(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

void WakeEvent::signal() const noexcept
{
    // The interrupted code must not see another errno. A full counter refuses the write and is readable already.
    const int savedErrno = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(m_fd.get(), &one, sizeof(one));
    errno = savedErrno;
}

void WakeEvent::clear() const noexcept
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto taken = ::read(m_fd.get(), &count, sizeof(count));
}

void WakeEvent::waitUntil(Clock::time_point deadline) const noexcept
{
    pollfd wait{m_fd.get(), POLLIN, 0};
    do
    {
        const int ready = ::poll(&wait, 1, millisecondsUntil(deadline));
        if (ready > 0)
        {
            clear();
            return;
        }
        if (ready < 0 && errno != EINTR)
        {
            std::this_thread::sleep_until(deadline); // it would fail again at once
        }
    } while (Clock::now() < deadline);
}

} // namespace com::tallowcrest::util
