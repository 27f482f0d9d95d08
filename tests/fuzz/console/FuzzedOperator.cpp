#include "tests/fuzz/console/FuzzedOperator.h"

#include "runtime/misc/Console.h"
#include "tests/fuzz/support/Require.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

namespace fuzz
{

namespace
{

namespace misc = com::tallowcrest::misc;
namespace util = com::tallowcrest::util;

constexpr std::uint8_t stalled = 0x80;
constexpr std::string_view timingMarkRefusal = "\xff\xfc\x06";

/// Whether a reader may give such a line: within its limit, without control characters.
bool isProper(const std::string& line)
{
    return line.size() <= misc::TelnetLineReader::maxLineSize && std::all_of(line.begin(), line.end(), [](char c) {
               const auto byte = static_cast<unsigned char>(c);
               return (byte >= 0x20 && byte != 0x7f) || byte == '\t';
           });
}

std::string without(std::string text, std::string_view part)
{
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at))
    {
        text.erase(at, part.size());
    }
    return text;
}

} // namespace

FuzzedOperator::FuzzedOperator(std::uint8_t manner, std::span<const std::uint8_t> keystrokes)
    : m_isStalled((manner & stalled) != 0), m_segments(static_cast<std::uint8_t>(manner & ~stalled)),
      m_keystrokes(keystrokes)
{
    std::array<int, 2> ends{};
    require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()) == 0, "a pair of sockets is to be had");
    m_socket.reset(ends[0]);
    if (m_isStalled)
    {
        // Little room, so that text is soon kept, and then dropped.
        const int room = 4096;
        require(::setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &room, sizeof(room)) == 0, "a socket takes its options");
    }
    m_client = std::make_unique<misc::TelnetClient>(
        log4cxx::Logger::getLogger("KORABRIDGE"),
        misc::TelnetListener::Accepted{util::UniqueFd(ends[1]), htonl(INADDR_LOOPBACK)}, 1);
}

void FuzzedOperator::print(const char* format, std::va_list arguments)
{
    std::array<char, 2048> text{};
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    require(length >= 0, "a format is right");
    m_printed += text.data();
    m_client->send(text.data());
    read();
}

int FuzzedOperator::getline(char* buffer, int size)
{
    for (;;)
    {
        if (const auto line = m_client->takeLine())
        {
            require(isProper(*line), "a line is within its limit and has no control characters");
            require(m_plain.takeLine() == line, "segments make no difference to lines");
            const int length = std::snprintf(buffer, static_cast<std::size_t>(size), "%s", line->c_str());
            m_answer = buffer;
            return std::min(length, size - 1);
        }
        if (!type())
        {
            return misc::consoleStopping;
        }
    }
}

bool FuzzedOperator::type()
{
    if (m_keystrokes.empty())
    {
        return false;
    }
    // No more at a time than a socket surely holds.
    const auto segment = m_keystrokes.first(std::min({m_segments.next(), m_keystrokes.size(), std::size_t{2048}}));
    m_keystrokes = m_keystrokes.subspan(segment.size());
    const ssize_t sent = ::send(m_socket.get(), segment.data(), segment.size(), MSG_NOSIGNAL);
    require(sent == static_cast<ssize_t>(segment.size()), "keystrokes are taken");
    constexpr std::size_t receivedAtOnce = 512;
    for (std::size_t received = 0; received < segment.size(); received += receivedAtOnce)
    {
        if (!m_client->receive())
        {
            require(m_client->isBrowser(), "a client who is there is not gone");
            m_keystrokes = {};
            return false;
        }
    }
    for (const std::uint8_t byte : segment)
    {
        const char character = static_cast<char>(byte);
        m_plain.feed(std::string_view(&character, 1));
    }
    read();
    return true;
}

void FuzzedOperator::read()
{
    if (m_isStalled)
    {
        return;
    }
    std::array<char, 4096> bytes{};
    for (;;)
    {
        const ssize_t count = ::recv(m_socket.get(), bytes.data(), bytes.size(), 0);
        if (count <= 0)
        {
            return;
        }
        m_seen.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

void FuzzedOperator::leave()
{
    if (!m_isStalled)
    {
        require(!m_client->hasPendingText(), "who reads is sent everything at once");
        require(without(m_seen, timingMarkRefusal) == m_printed, "who reads sees all that is printed");
    }
    m_socket.reset();
    m_client->close();
    require(!m_client->hasPendingText(), "nothing is kept for who has left");
}

} // namespace fuzz
