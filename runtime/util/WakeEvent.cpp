#include "runtime/util/WakeEvent.h"

#include <cerrno>
#include <cstdint>

#include <sys/eventfd.h>
#include <unistd.h>

namespace com::tallowcrest::util
{

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

} // namespace com::tallowcrest::util
