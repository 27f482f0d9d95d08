#include "runtime/misc/StandardInput.h"

#include "runtime/misc/Console.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

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
        if (takeEnd())
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
    if (lineEnd == std::string::npos)
    {
        return std::nullopt;
    }
    std::string line = m_held.substr(0, lineEnd);
    m_held.erase(0, lineEnd + 1);
    line.erase(line.find_last_not_of("\r\n") + 1);
    return line;
}

void StandardInput::readMore()
{
    std::array<char, 512> bytes{};
    const ssize_t count = ::read(m_fd, bytes.data(), bytes.size());
    const std::lock_guard lock(m_mutex);
    if (count > 0)
    {
        append({bytes.data(), static_cast<std::size_t>(count)});
    }
    else if (count == 0 || (errno != EINTR && errno != EAGAIN))
    {
        m_atEnd = true;
        if (!m_held.empty() && m_held.back() != '\n')
        {
            append("\n"); // the last line counts although nothing ends it
        }
    }
}

bool StandardInput::takeEnd()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_atEnd, false);
}

void StandardInput::append(std::string_view bytes)
{
    for (const char byte : bytes)
    {
        if (byte == '\n')
        {
            m_held += byte;
            m_openLineSize = 0;
        }
        else if (m_openLineSize < maxLineSize)
        {
            m_held += byte;
            ++m_openLineSize;
        }
    }
}

StandardInput& standardInput()
{
    static StandardInput input(STDIN_FILENO);
    return input;
}

} // namespace com::tallowcrest::misc
