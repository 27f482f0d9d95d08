#include "koraclient/Errors.h"
#include "koraclient/KoraClient.h"
#include "koracommand/WireLayout.h"
#include "tools/koractl/doctor/Probes.h"

#include <array>

namespace koractl
{
namespace
{

using koraclient::ConnectError;
using koraclient::KoraClient;
using koraclient::OutputStatus;

PortState stateOf(ConnectError::Cause cause)
{
    switch (cause)
    {
    case ConnectError::Cause::refused:
        return PortState::refused;
    case ConnectError::Cause::late:
        return PortState::noAnswer;
    case ConnectError::Cause::unknownHost:
        return PortState::unknownHost;
    case ConnectError::Cause::other:
        break;
    }
    return PortState::unreachable;
}

void askClock(KoraClient& client, LinkFacts& facts)
{
    namespace wire = wireLayout::readySystemStatusRsp;
    const auto status = client.systemStatus(wire::fallbackFormat);
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()).time_since_epoch();
    const std::size_t at = (wire::format4Time - wire::words) / wireLayout::wordBytes;
    if (at < status.words.size())
    {
        facts.clockAhead = std::chrono::seconds(status.words[at]) - now;
    }
}

/// The two levels that every bridge has, in as many requests as they need.
void askOutputs(KoraClient& client, LinkFacts& facts)
{
    struct Level
    {
        std::uint32_t number;
        std::uint32_t outputs;
    };
    constexpr std::array levels{Level{1, 288}, Level{2, 2304}};
    std::uint32_t outputs = 0;
    for (const Level& level : levels)
    {
        std::uint32_t had = 0;
        while (had < level.outputs)
        {
            const auto block = client.outputStatus(2, level.number, 1 + had, level.outputs - had);
            if (block.entries.empty())
            {
                break;
            }
            for (const OutputStatus& each : block.entries)
            {
                facts.known += each.result == 0 || each.lprState != 0 ? 1U : 0U;
            }
            had += static_cast<std::uint32_t>(block.entries.size());
        }
        outputs += had;
    }
    facts.outputs = outputs;
}

/// A program that reads lines says what it thinks of an empty one; a bridge waits for the rest of a request.
bool isReadingLines(KoraClient& client)
{
    try
    {
        constexpr std::array<std::uint8_t, 4> emptyLines{'\r', '\n', '\r', '\n'};
        client.sendBytes(emptyLines);
        (void)client.receiveMessage();
    }
    catch (const koraclient::TimeoutError&)
    {
        return false;
    }
    catch (const koraclient::KoraError&)
    {
        return true;
    }
    return false;
}

void ask(KoraClient& client, LinkFacts& facts)
{
    try
    {
        const auto begin = std::chrono::steady_clock::now();
        (void)client.portPresent();
        facts.answer = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
        askClock(client, facts);
        askOutputs(client, facts);
        facts.port = PortState::answers;
    }
    catch (const koraclient::PeerClosed& problem)
    {
        facts.port = PortState::closes;
        facts.problem = problem.what();
    }
    catch (const koraclient::TimeoutError& problem)
    {
        facts.port = isReadingLines(client) ? PortState::foreign : PortState::silent;
        facts.problem = problem.what();
    }
    catch (const koraclient::KoraError& problem)
    {
        facts.port = PortState::foreign;
        facts.problem = problem.what();
    }
}

} // namespace

LinkFacts probeLink(const std::string& host, std::uint16_t port, std::chrono::milliseconds timeout)
{
    LinkFacts facts;
    try
    {
        KoraClient client(host, port, timeout);
        ask(client, facts);
    }
    catch (const ConnectError& problem)
    {
        facts.port = stateOf(problem.cause());
        facts.problem = problem.what();
    }
    return facts;
}

} // namespace koractl
