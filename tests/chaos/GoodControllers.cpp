#include "tests/chaos/GoodControllers.h"

#include "koraclient/Errors.h"
#include "koraclient/RequestEncoder.h"
#include "koraclient/ResponseDecoder.h"
#include "koracommand/WireLayout.h"

#include <set>

using namespace std::chrono_literals;

namespace chaos
{

namespace
{

/// Outputs that belong to one controller: of each hundred (twenty with video) those of its share.
constexpr std::uint32_t videoShare = 24;
constexpr std::uint32_t audioShare = 200;
/// An input that no level has.
constexpr std::uint32_t noInput = 60000;

Crosspoint ownOutput(Dice& dice, std::uint32_t share)
{
    if (dice.between(0, 3) == 0)
    {
        return {Signal::Video, 1 + share * videoShare + dice.between(0, videoShare - 1)};
    }
    return {Signal::Audio, 1 + share * audioShare + dice.between(0, audioShare - 1)};
}

void settle(World& world, const Crosspoint& crosspoint, std::uint32_t result)
{
    if (result == 0)
    {
        world.takes.acknowledged(crosspoint, Clock::now());
    }
    else
    {
        world.takes.refused(crosspoint);
    }
}

} // namespace

Taker::Taker(World& world, std::uint32_t number, std::uint32_t share, std::uint32_t mostEntries, std::uint64_t seed)
    : Controller(world, "taker " + std::to_string(share), number), m_share(share), m_mostEntries(mostEntries),
      m_dice(seed)
{}

void Taker::step(koraclient::KoraClient& client)
{
    std::vector<Crosspoint> crosspoints;
    std::vector<koraclient::TakeEntry> entries;
    for (std::uint32_t wanted = m_dice.between(1, m_mostEntries); wanted > 0; --wanted)
    {
        const Crosspoint crosspoint = ownOutput(m_dice, m_share);
        const std::uint32_t number = world().nextNumber++;
        const std::uint32_t input =
            world().isSabotagedBy(Sabotage::RefusedTakes) ? noInput : m_dice.between(1, sizeOf(crosspoint.signal));
        if (world().takes.sent(crosspoint, {number, input, std::nullopt}))
        {
            crosspoints.push_back(crosspoint);
            entries.push_back({levelOf(crosspoint.signal), number, input, crosspoint.output});
        }
    }
    if (!entries.empty())
    {
        const bool isCoherent = m_dice.between(0, 3) == 0;
        try
        {
            const auto results = world().answers.measure(isCoherent ? "coherent take" : "take", [&] {
                return isCoherent ? client.coherentTake(entries) : client.take(entries);
            });
            for (std::size_t i = 0; i < entries.size(); ++i)
            {
                settle(world(), crosspoints[i], results[i]);
            }
        }
        catch (const koraclient::KoraError&)
        {
            for (const auto& crosspoint : crosspoints)
            {
                world().takes.unanswered(crosspoint);
            }
            throw;
        }
    }
    stopper().pause(m_dice.between(0ms, 20ms));
}

Locker::Locker(World& world, std::uint32_t number, std::uint32_t share, std::uint64_t seed)
    : Controller(world, "locker", number), m_share(share), m_dice(seed)
{}

void Locker::step(koraclient::KoraClient& client)
{
    using koraclient::LprCommand;
    const Crosspoint crosspoint = ownOutput(m_dice, m_share);
    const std::uint32_t number = world().nextNumber++;
    const std::uint32_t choice = m_dice.between(0, 3);
    const LprCommand command = choice == 0   ? LprCommand::lock
                               : choice == 1 ? LprCommand::protect
                                             : LprCommand::forcedRelease;
    const std::uint32_t onBus = choice == 0 ? 2 : choice == 1 ? 1 : 0;
    if (world().takes.sent(crosspoint, {number, std::nullopt, onBus}))
    {
        try
        {
            const auto result = world().answers.measure("set output LPR", [&] {
                return client.setOutputLpr({{levelOf(crosspoint.signal), crosspoint.output, command, number}});
            });
            settle(world(), crosspoint, result.results.at(0));
        }
        catch (const koraclient::KoraError&)
        {
            world().takes.unanswered(crosspoint);
            throw;
        }
    }
    stopper().pause(m_dice.between(0ms, 20ms));
}

Poller::Poller(World& world, std::uint32_t number, ChangeLedger::Detail detail)
    : Controller(world, "poller " + std::to_string(number), number), m_detail(detail),
      m_ledgerNumber(world.changes.addPoller(name(), detail))
{}

void Poller::step(koraclient::KoraClient& client)
{
    walk(client, Signal::Video);
    walk(client, Signal::Audio);
    stopper().pause(20ms);
}

void Poller::walk(koraclient::KoraClient& client, Signal signal)
{
    constexpr std::uint32_t shortFormat = 1;
    const auto begin = Clock::now();
    for (bool isMore = true; isMore;)
    {
        const auto changes = world().answers.measure("get output changes", [&] {
            return client.outputChanges(m_detail == ChangeLedger::Detail::InputOnly ? shortFormat : 0, levelOf(signal));
        });
        for (const auto& change : changes.entries)
        {
            const Crosspoint crosspoint{signal, change.output};
            if (world().takesSabotage(Sabotage::MissingChange))
            {
                m_overlooked = crosspoint;
            }
            if (m_overlooked != crosspoint)
            {
                world().changes.reported(m_ledgerNumber, crosspoint,
                                         {change.result, change.input, change.lprState, change.lprId});
            }
        }
        isMore = changes.more;
    }
    world().changes.walked(m_ledgerNumber, signal, begin);
}

Asker::Asker(World& world, std::uint32_t number, std::uint64_t seed) : Controller(world, "asker", number), m_dice(seed)
{}

void Asker::step(koraclient::KoraClient& client)
{
    if (world().takesSabotage(Sabotage::ForeignResponse))
    {
        const std::vector<std::uint8_t> foreign = koraclient::RequestEncoder(client.nextTag() + 1).portPresent();
        client.sendBytes(foreign); // its response comes where that to the next question is expected
    }
    if (world().takesSabotage(Sabotage::LateAnswer))
    {
        client.portPresent();
        world().answers.answered("port present", Clock::now() - 1h, Clock::now());
    }
    if (m_dice.between(0, 3) == 0)
    {
        askManyAtOnce(client);
    }
    else
    {
        ask(client);
    }
    stopper().pause(m_dice.between(0ms, 10ms));
}

void Asker::ask(koraclient::KoraClient& client)
{
    auto& answers = world().answers;
    const std::uint32_t level = m_dice.between(1, 6);
    switch (m_dice.between(0, 6))
    {
    case 0:
        answers.measure("tally", [&] { return client.tally(level, m_dice.between(0, 2400), m_dice.between(0, 1020)); });
        break;
    case 1:
        answers.measure("get output status", [&] {
            return client.outputStatus(m_dice.between(0, 2), level, m_dice.between(0, 2400), m_dice.between(0, 500));
        });
        break;
    case 2:
        answers.measure("partition info", [&] { return client.partitionInfo(); });
        break;
    case 3:
        answers.measure("port present", [&] { return client.portPresent(); });
        break;
    case 4:
        answers.measure("system status", [&] { return client.systemStatus(2 * m_dice.between(0, 3)); });
        break;
    case 5:
        answers.measure("card presence", [&] { return client.cardPresence(m_dice.between(0, 0xffffffff)); });
        break;
    default:
        answers.measure("unknown message", [&] {
            return client.request(0x99, {1, 2, 3}).id() == wireLayout::rspId::error;
        });
        break;
    }
}

void Asker::askManyAtOnce(koraclient::KoraClient& client)
{
    constexpr std::uint32_t most = 16;
    const std::uint32_t count = m_dice.between(2, most);
    std::vector<std::uint8_t> bytes;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const auto request = koraclient::RequestEncoder(client.nextTag() + i).tally(1, i + 1, i);
        bytes.insert(bytes.end(), request.begin(), request.end());
    }
    const auto begin = Clock::now();
    client.sendBytes(bytes);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const koraclient::Expectation expected{
            .responseId = wireLayout::rspId::tally, .tag = client.nextTag() + i, .sequence = client.expectedSequence()};
        const koraclient::Message message = client.receiveMessage();
        const auto tally = koraclient::ResponseDecoder(message, expected).tally(1, i + 1, i);
        if (!tally.isOk())
        {
            throw koraclient::ProtocolError(tally.fault().text);
        }
    }
    world().answers.answered("several tallies at once", begin, Clock::now());
    client.setNextTag(client.nextTag() + count);
}

void Visitor::step(koraclient::KoraClient& idle)
{
    // Somebody who says a word from time to time only.
    world().answers.measure("port present", [&] { return idle.portPresent(); });
    koraclient::KoraClient client = connect();
    expectEveryOutput(client, Signal::Video);
    expectEveryOutput(client, Signal::Audio);
    ++m_visits;
    stopper().pause(300ms);
}

void Visitor::expectEveryOutput(koraclient::KoraClient& client, Signal signal)
{
    constexpr std::uint32_t shortFormat = 1;
    std::set<std::uint32_t> outputs;
    for (bool isMore = true; isMore;)
    {
        const auto changes = world().answers.measure(
            "get output changes", [&] { return client.outputChanges(shortFormat, levelOf(signal)); });
        for (const auto& change : changes.entries)
        {
            outputs.insert(change.output);
        }
        isMore = changes.more;
    }
    if (outputs.size() != sizeOf(signal))
    {
        world().verdict.violation("change", "a new controller was shown " + std::to_string(outputs.size()) +
                                                " outputs of level " + std::to_string(levelOf(signal)));
    }
}

} // namespace chaos
