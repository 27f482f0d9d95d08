#include "tests/chaos/Plan.h"

#include "tests/chaos/Dice.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <ostream>

using namespace std::chrono_literals;

namespace chaos
{

namespace
{

constexpr std::array busNames = {"re-announce",
                                 "re-announce three times",
                                 "re-announce a hundred times",
                                 "dispose of membership",
                                 "drop ranges",
                                 "drop a level",
                                 "status",
                                 "drop status",
                                 "burst",
                                 "local target",
                                 "move",
                                 "stop",
                                 "stop beyond the lease",
                                 "kill",
                                 "vanish"};
constexpr std::array peerNames = {"reset",   "half-close",     "stall in header", "stall in body", "never read",
                                  "garbage", "garbage frames", "other protocols", "flood",         "unknown commands",
                                  "drip",    "connect storm",  "silent"};
constexpr std::array consoleNames = {"inspect", "reset",     "half-close", "stall in line", "never read",
                                     "garbage", "long line", "flood",      "second client", "negotiation"};

constexpr auto stormLength = 3s;
/// How long a participant of the bus may be silent before the others give it up, and then some.
constexpr auto beyondLease = 11s;
constexpr auto beyondLeaseEvery = 90s;

/// Deals every act once before any comes again, so that even short runs see many and long ones all.
template <typename Act>
class Deck
{
public:
    Deck(Act first, Act last)
    {
        for (auto act = static_cast<int>(first); act <= static_cast<int>(last); ++act)
        {
            m_acts.push_back(static_cast<Act>(act));
        }
    }
    Act draw(Dice& dice)
    {
        if (m_left == 0)
        {
            m_left = m_acts.size();
        }
        std::swap(m_acts[dice.between(0, static_cast<std::uint32_t>(m_left) - 1)], m_acts[m_left - 1]);
        return m_acts[--m_left];
    }

private:
    std::vector<Act> m_acts;
    std::size_t m_left = 0;
};

std::vector<Step<BusAct>> planBus(Dice dice, std::chrono::milliseconds length, std::chrono::milliseconds calm)
{
    std::vector<Step<BusAct>> steps;
    Deck<BusAct> harmless(BusAct::ReAnnounce, BusAct::LocalTarget);
    Deck<BusAct> interruptions(BusAct::Move, BusAct::Vanish);
    std::chrono::milliseconds now{0};
    std::chrono::milliseconds lastBeyondLease{-1};
    const auto add = [&](BusAct act, std::chrono::milliseconds wait, std::chrono::milliseconds duration) {
        steps.push_back({act, wait, duration, dice.between(0, 0xffff)});
        now += wait + (interruptsBus(act) ? duration : 0ms);
    };
    const auto addHarmless = [&](std::chrono::milliseconds until, std::chrono::milliseconds least,
                                 std::chrono::milliseconds most) {
        while (now < until)
        {
            add(harmless.draw(dice), dice.between(least, most), dice.between(50ms, 500ms));
        }
    };
    while (now < length)
    {
        addHarmless(now + stormLength, 50ms, 400ms);
        BusAct interruption = interruptions.draw(dice);
        if (interruption == BusAct::StopBeyondLease)
        {
            // Rare, and not in short runs: nothing can be checked for as long as it lasts.
            const bool isDue = length >= 60s && (lastBeyondLease < 0ms || now - lastBeyondLease > beyondLeaseEvery);
            interruption = isDue ? interruption : BusAct::Stop;
            lastBeyondLease = isDue ? now : lastBeyondLease;
        }
        add(interruption, dice.between(50ms, 300ms),
            interruption == BusAct::StopBeyondLease ? beyondLease : dice.between(100ms, 2000ms));
        add(BusAct::Burst, 100ms, 0ms);
        addHarmless(now + calm, 300ms, 1200ms);
    }
    return steps;
}

template <typename Act>
std::vector<Step<Act>> planPeer(Dice dice, std::chrono::milliseconds length, Act last,
                                std::chrono::milliseconds longest)
{
    std::vector<Step<Act>> steps;
    Deck<Act> deck(Act{}, last);
    for (std::chrono::milliseconds now{0}; now < length; now += steps.back().wait + steps.back().duration / 4)
    {
        steps.push_back(
            {deck.draw(dice), dice.between(0ms, 200ms), dice.between(50ms, longest), dice.between(0, 0xffffffff)});
    }
    return steps;
}

template <typename Act>
void printSteps(std::ostream& out, const std::string& who, const std::vector<Step<Act>>& steps)
{
    for (const auto& step : steps)
    {
        out << who << ": wait " << step.wait.count() << " ms, " << nameOf(step.act) << " (" << step.duration.count()
            << " ms, " << step.number << ")\n";
    }
}

} // namespace

Plan::Plan(std::uint64_t seed, std::chrono::seconds length, std::chrono::milliseconds calm)
{
    Dice dice(seed);
    m_bus = planBus(Dice(dice.seed()), length, calm);
    for (std::size_t i = 0; i < peers; ++i)
    {
        m_peers.push_back(planPeer(Dice(dice.seed()), length, PeerAct::Silent, 3000ms));
    }
    m_console = planPeer(Dice(dice.seed()), length, ConsoleAct::Negotiation, 1500ms);
}

void Plan::print(std::ostream& out) const
{
    printSteps(out, "bus", m_bus);
    for (std::size_t i = 0; i < m_peers.size(); ++i)
    {
        printSteps(out, "controller " + std::to_string(i), m_peers[i]);
    }
    printSteps(out, "console", m_console);
}

std::string nameOf(BusAct act)
{
    return busNames.at(static_cast<std::size_t>(act));
}

std::string nameOf(PeerAct act)
{
    return peerNames.at(static_cast<std::size_t>(act));
}

std::string nameOf(ConsoleAct act)
{
    return consoleNames.at(static_cast<std::size_t>(act));
}

bool interruptsBus(BusAct act)
{
    return act >= BusAct::Move;
}

} // namespace chaos
