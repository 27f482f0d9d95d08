#include "runtime/util/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace com::tallowcrest::util
{

UniqueFd openEmptyRegularFile(const std::string& path)
{
    constexpr mode_t asTheUmaskSays = 0666;
    UniqueFd file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, asTheUmaskSays));
    struct stat status = {};
    // Emptied only now, so that nothing else loses what it held.
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        ::ftruncate(file.get(), 0) != 0)
    {
        return UniqueFd();
    }
    return file;
}

DescriptorBuffer::int_type DescriptorBuffer::overflow(int_type character)
{
    if (!traits_type::eq_int_type(character, traits_type::eof()))
    {
        m_unwritten += traits_type::to_char_type(character);
    }
    return traits_type::not_eof(character);
}

std::streamsize DescriptorBuffer::xsputn(const char* text, std::streamsize size)
{
    m_unwritten.append(text, static_cast<std::size_t>(size));
    return size;
}

int DescriptorBuffer::sync()
{
    std::size_t written = 0;
    while (written < m_unwritten.size())
    {
        const ssize_t count = ::write(m_fd, m_unwritten.data() + written, m_unwritten.size() - written);
        if (count >= 0)
        {
            written += static_cast<std::size_t>(count);
        }
        else if (errno != EINTR)
        {
            m_unwritten.clear();
            return -1;
        }
    }
    m_unwritten.clear();
    return 0;
}

} // namespace com::tallowcrest::util
