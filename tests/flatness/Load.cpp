#include "tests/flatness/Load.h"

#include "koraclient/Errors.h"
#include "koraclient/KoraClient.h"
#include "koraclient/RequestEncoder.h"
#include "koracommand/WireLayout.h"
#include "tests/chaos/Controller.h"
#include "tests/chaos/Dice.h"
#include "tests/support/Operator.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <thread>

using namespace std::chrono_literals;
using testsupport::TcpSocket;

namespace flatness
{

namespace
{

/// Together at most 12 of the 16 slots, so that the port seldom closes.
constexpr std::size_t senders = 4;
constexpr std::size_t visitors = 4;
constexpr std::uint32_t messagesAtOnce = 32;
constexpr auto patience = 60s;

std::vector<std::uint8_t> someRequest(chaos::Dice& dice, std::uint32_t tag)
{
    const koraclient::RequestEncoder encoder(tag);
    const std::uint32_t output = dice.between(1, 288);
    switch (dice.between(0, 19))
    {
    case 0:
        return encoder.take({{1, 0, dice.between(1, 288), output}});
    case 1:
        return encoder.coherentTake({{2, 0, dice.between(1, 2304), output}});
    case 2:
        return encoder.setOutputLpr({{1, output, koraclient::LprCommand::forcedRelease, 0}});
    case 3:
        return encoder.systemStatus(2);
    case 4:
        return encoder.partitionInfo();
    case 5:
        return encoder.cardPresence(tag);
    case 6:
        return encoder.portPresent();
    case 7:
        return encoder.raw(0x99, {tag}); // an unknown command
    case 8:
    case 9:
        return encoder.outputChanges(tag % 2, dice.between(1, 2));
    default:
        return dice.between(0, 1) == 0 ? encoder.tally(1, output, 4) : encoder.outputStatus(0, 2, output, 4);
    }
}

koraclient::KoraClient connect()
{
    for (const auto end = chaos::Clock::now() + patience;;)
    {
        try
        {
            return koraclient::KoraClient("127.0.0.1", chaos::koraPort, patience);
        }
        catch (const koraclient::ConnectError&)
        {
            if (chaos::Clock::now() > end)
            {
                throw;
            }
            std::this_thread::sleep_for(10ms);
        }
    }
}

} // namespace

Amount Amount::dividedBy(std::size_t divisor) const
{
    const auto divide = [divisor](std::size_t number) { return std::max<std::size_t>(1, number / divisor); };
    return {divide(commands), divide(connections), divide(joins), divide(sessions)};
}

Amount Load::done() const
{
    return {m_commands, m_connections, m_joins, m_sessions};
}

void Load::perform(const Amount& amount, const std::function<void(const Amount&)>& onProgress)
{
    std::atomic<std::size_t> running{0};
    std::vector<std::thread> threads;
    const auto start = [&](std::function<void()> work) {
        ++running;
        threads.emplace_back([this, &running, work = std::move(work)] {
            guard(work);
            --running;
        });
    };
    for (std::size_t i = 0; i < senders; ++i)
    {
        start([this, i, &amount] { sendCommands(amount.commands / senders, static_cast<std::uint32_t>(i)); });
    }
    for (std::size_t i = 0; i < visitors; ++i)
    {
        start([this, i, &amount] { connectAndLeave(amount.connections / visitors, static_cast<std::uint32_t>(i)); });
    }
    start([this, &amount] { join(amount.joins); });
    start([this, &amount] { lookAtConsole(amount.sessions); });
    while (running != 0)
    {
        std::this_thread::sleep_for(running == 0 ? 0ms : 200ms);
        onProgress(done());
    }
    for (auto& thread : threads)
    {
        thread.join();
    }
    if (m_failure)
    {
        std::rethrow_exception(m_failure);
    }
}

void Load::guard(const std::function<void()>& work)
{
    try
    {
        work();
    }
    catch (const std::exception&)
    {
        if (!m_isFailed.exchange(true))
        {
            m_failure = std::current_exception();
        }
    }
}

void Load::sendCommands(std::size_t count, std::uint32_t seed)
{
    chaos::Dice dice(seed);
    koraclient::KoraClient client = connect();
    for (std::size_t sent = 0; sent < count && !m_isFailed; sent += messagesAtOnce)
    {
        const std::uint32_t tag = client.nextTag();
        std::vector<std::uint8_t> bytes;
        for (std::uint32_t i = 0; i < messagesAtOnce; ++i)
        {
            const auto request = someRequest(dice, tag + i);
            bytes.insert(bytes.end(), request.begin(), request.end());
        }
        client.sendBytes(bytes);
        for (std::uint32_t i = 0; i < messagesAtOnce; ++i)
        {
            if (client.receiveMessage().tag() != tag + i)
            {
                throw std::runtime_error("a response to another request came");
            }
        }
        client.setNextTag(tag + messagesAtOnce);
        m_commands += messagesAtOnce;
    }
}

void Load::connectAndLeave(std::size_t count, std::uint32_t seed)
{
    chaos::Dice dice(seed);
    for (std::size_t i = 0; i < count && !m_isFailed; ++i)
    {
        // Until the port is open again and the one before has been missed.
        const bool isServed = testsupport::waitUntil(
            [&] {
                auto socket = TcpSocket::connect(chaos::koraPort);
                if (!socket)
                {
                    return false;
                }
                try
                {
                    socket->send(testsupport::asText(koraclient::RequestEncoder(1).portPresent()));
                }
                catch (const std::runtime_error&)
                {
                    return false;
                }
                const bool isAnswered = socket->receive(24, patience).size() == 24;
                if (dice.between(0, 1) == 0)
                {
                    socket->reset();
                }
                return isAnswered;
            },
            patience);
        if (!isServed)
        {
            throw std::runtime_error("a newcomer was not served");
        }
        ++m_connections;
    }
}

void Load::join(std::size_t count)
{
    for (std::size_t i = 0; i < count && !m_isFailed; ++i)
    {
        const std::size_t before = m_bridge.countedLines();
        m_router.command("reannounce");
        if (!testsupport::waitUntil([&] { return m_bridge.countedLines() >= before + 2; }, patience))
        {
            throw std::runtime_error("the bridge did not join again");
        }
        ++m_joins;
    }
}

void Load::lookAtConsole(std::size_t count)
{
    for (std::size_t i = 0; i < count && !m_isFailed; ++i)
    {
        const std::string choices = i % 2 == 0 ? "show tasks" : "show all";
        if (askConsole(choices).empty())
        {
            throw std::runtime_error("the console printed nothing");
        }
        ++m_sessions;
    }
}

std::string askConsole(const std::string& choice)
{
    return testsupport::Operator(patience).choose(choice);
}

} // namespace flatness
