#include "tests/support/Operator.h"

#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <utility>

namespace testsupport
{

using Clock = std::chrono::steady_clock;

namespace
{

bool waitReadable(int socket, Clock::time_point end)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd wait{.fd = socket, .events = POLLIN, .revents = 0};
    return left > 0 && poll(&wait, 1, static_cast<int>(left)) > 0;
}

/// Appends what has arrived, waiting for it; false at the end of the stream. Throws at the deadline.
bool receiveMore(int socket, std::string& text, Clock::time_point end)
{
    if (!waitReadable(socket, end))
    {
        throw std::runtime_error("the console did not answer, it said so far: '" + text + "'");
    }
    std::array<char, 8192> bytes{};
    const auto count = recv(socket, bytes.data(), bytes.size(), 0);
    if (count > 0)
    {
        text.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

} // namespace

TcpSocket Operator::connect(std::chrono::milliseconds deadline)
{
    if (!waitForPort(telnetPort, deadline))
    {
        throw std::runtime_error("the console's port does not open");
    }
    std::optional<TcpSocket> socket;
    const auto end = Clock::now() + scaled(deadline);
    const bool isServed = waitUntil(
        [&socket, end] {
            socket = TcpSocket::connect(telnetPort);
            std::array<char, 1> first{};
            return socket && waitReadable(socket->fd(), end) &&
                   recv(socket->fd(), first.data(), first.size(), MSG_PEEK) == 1;
        },
        deadline);
    if (!isServed)
    {
        throw std::runtime_error("the console serves no operator");
    }
    return std::move(*socket);
}

Operator::Operator(std::chrono::milliseconds patience)
    : m_patience(patience), m_socket(connect(patience)), m_firstText(untilMenu())
{}

std::string Operator::choose(const std::string& line)
{
    type(line + "\n");
    return untilMenu();
}

std::string Operator::chooseTable(const std::string& line)
{
    type(line + "\n");
    return until(xptPrompt, m_patience);
}

std::string Operator::table(const std::string& item, const std::string& firstXpt)
{
    chooseTable(item);
    return choose(firstXpt);
}

std::string Operator::untilMenu()
{
    const std::string menu(menuScreen);
    std::string text = until(menu, m_patience);
    text.resize(text.size() - menu.size());
    return text;
}

std::string Operator::until(const std::string& text, std::chrono::milliseconds deadline)
{
    const auto end = Clock::now() + scaled(deadline);
    std::size_t at = 0;
    while ((at = m_unread.find(text)) == std::string::npos)
    {
        if (!receiveMore(m_socket.fd(), m_unread, end))
        {
            throw std::runtime_error("the console ended the session, it said last: '" + m_unread + "'");
        }
    }
    std::string result = m_unread.substr(0, at + text.size());
    m_unread.erase(0, result.size());
    return result;
}

std::string Operator::untilEnd(std::chrono::milliseconds deadline)
{
    const auto end = Clock::now() + scaled(deadline);
    while (receiveMore(m_socket.fd(), m_unread, end))
    {}
    return std::exchange(m_unread, {});
}

} // namespace testsupport
