#include "koraclient/ClientSocket.h"
#include "koraclient/Errors.h"
#include "tools/koractl/doctor/ConsoleText.h"
#include "tools/koractl/doctor/Probes.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace koractl
{
namespace
{

using koraclient::ClientSocket;
using Clock = ClientSocket::Clock;

constexpr std::uint16_t consolePort = 8882;
constexpr std::string_view menuPrompt = "Enter selection: ";
constexpr std::string_view tablePrompt = "firstXpt: ";
/// The server's own thread prints the table of connections, when it comes to that; but then all of it at once.
constexpr std::chrono::milliseconds tableTime{500};
constexpr std::size_t mostText = 65536; ///< more is no console

void type(ClientSocket& socket, std::string_view line, Clock::time_point deadline)
{
    std::array<std::uint8_t, 8> bytes{};
    std::copy(line.begin(), line.end(), bytes.begin());
    socket.sendAll(std::span(bytes).first(line.size()), deadline);
}

/// What comes until it holds a text; throws TimeoutError, or PeerClosed.
std::string readUntil(ClientSocket& socket, std::string_view end, Clock::time_point deadline)
{
    std::string text;
    while (text.find(end) == std::string::npos)
    {
        std::array<std::uint8_t, 4096> buffer{};
        const std::size_t received = socket.receiveSome(buffer, deadline);
        text.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(received));
        if (text.size() > mostText)
        {
            throw koraclient::ProtocolError("what answers is no console");
        }
    }
    return text;
}

/// All that comes within a time.
std::string readFor(ClientSocket& socket, std::chrono::milliseconds time)
{
    std::string text;
    const auto deadline = Clock::now() + time;
    try
    {
        while (text.size() < mostText)
        {
            std::array<std::uint8_t, 4096> buffer{};
            const std::size_t received = socket.receiveSome(buffer, deadline);
            text.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(received));
        }
    }
    catch (const koraclient::KoraError&)
    {
        // The time is over, or the console is; what came is what there is.
    }
    return text;
}

} // namespace

ConsoleFacts probeConsole(const std::string& host, std::chrono::milliseconds timeout)
{
    ConsoleFacts facts;
    try
    {
        ClientSocket socket(host, consolePort, Clock::now() + timeout);
        facts.state = ConsoleFacts::State::busy; // until it greets
        (void)readUntil(socket, menuPrompt, Clock::now() + timeout);
        facts.state = ConsoleFacts::State::answers;
        type(socket, "7\n", Clock::now() + timeout);
        (void)readUntil(socket, tablePrompt, Clock::now() + timeout);
        type(socket, "1\n", Clock::now() + timeout);
        facts.partition = partitionOf(readUntil(socket, menuPrompt, Clock::now() + timeout));
        type(socket, "0\n", Clock::now() + timeout);
        const std::string heading = readUntil(socket, connectionsHeading, Clock::now() + timeout);
        facts.controllers = controllersOf(heading + readFor(socket, tableTime));
    }
    catch (const koraclient::ConnectError& problem)
    {
        facts.state = problem.cause() == koraclient::ConnectError::Cause::refused ? ConsoleFacts::State::refused
                                                                                  : ConsoleFacts::State::noAnswer;
    }
    catch (const koraclient::KoraError&)
    {
        // Closed, or silent for too long: what was seen until then is what there is.
    }
    return facts;
}

} // namespace koractl
