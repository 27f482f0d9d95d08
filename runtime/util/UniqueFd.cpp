#include "runtime/util/UniqueFd.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace com::tallowcrest::util
{

UniqueFd::~UniqueFd()
{
    reset();
}

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept
{
    if (this != &other)
    {
        reset(other.release());
    }
    return *this;
}

int UniqueFd::release()
{
    return std::exchange(m_fd, -1);
}

void UniqueFd::reset(int fd)
{
    const int old = std::exchange(m_fd, fd);
    if (old >= 0 && old != fd)
    {
        // An error path closes before it reports: its error number must survive.
        const int errorNumber = errno;
        static_cast<void>(::close(old));
        errno = errorNumber;
    }
}

} // namespace com::tallowcrest::util
