#include "runtime/misc/StandardInput.h"

#include "runtime/misc/Console.h"
#include "runtime/misc/ConsoleStop.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <unistd.h>

namespace com::tallowcrest::misc
{

int copyLine(const std::string& line, char* buffer, int size)
{
    if (size <= 0)
    {
        return 0;
    }
    const std::size_t count = std::min(line.size(), static_cast<std::size_t>(size) - 1);
    std::memcpy(buffer, line.data(), count);
    buffer[count] = '\0';
    return static_cast<int>(count);
}

int StandardInput::getline(char* buffer, int size)
{
    copyLine("", buffer, size);
    while (!consoleStopRequested())
    {
        if (const auto line = takeLine())
        {
            return copyLine(*line, buffer, size);
        }
        if (atEnd())
        {
            return consoleEndOfInput;
        }
        std::array<pollfd, 2> waits{{{m_fd, POLLIN, 0}, {consoleStopFd(), POLLIN, 0}}};
        constexpr int timeoutMs = 1000;
        if (::poll(waits.data(), waits.size(), timeoutMs) > 0 && waits[0].revents != 0)
        {
            readMore();
        }
    }
    return consoleStopping;
}

std::optional<std::string> StandardInput::takeLine()
{
    const std::lock_guard lock(m_mutex);
    const std::size_t lineEnd = m_held.find('\n');
    if (lineEnd == std::string::npos && (!m_atEnd || m_held.empty()))
    {
        return std::nullopt;
    }
    std::string line = m_held.substr(0, lineEnd);
    m_held.erase(0, lineEnd == std::string::npos ? lineEnd : lineEnd + 1);
    line.erase(line.find_last_not_of("\r\n") + 1);
    return line;
}

bool StandardInput::readMore()
{
    std::array<char, 512> bytes{};
    const ssize_t count = ::read(m_fd, bytes.data(), bytes.size());
    const std::lock_guard lock(m_mutex);
    if (count > 0)
    {
        append(bytes.data(), static_cast<std::size_t>(count));
    }
    else if (count == 0 || (errno != EINTR && errno != EAGAIN))
    {
        m_atEnd = true;
    }
    return !m_atEnd;
}

bool StandardInput::atEnd() const
{
    const std::lock_guard lock(m_mutex);
    return m_atEnd;
}

void StandardInput::append(const char* bytes, std::size_t count)
{
    for (const char byte : std::string_view(bytes, count))
    {
        const std::size_t lastLineEnd = m_held.rfind('\n');
        const std::size_t lineSize = m_held.size() - (lastLineEnd == std::string::npos ? 0 : lastLineEnd + 1);
        if (byte == '\n' || lineSize < maxLineSize)
        {
            m_held += byte;
        }
    }
}

StandardInput& standardInput()
{
    static StandardInput input(STDIN_FILENO);
    return input;
}

} // namespace com::tallowcrest::misc
