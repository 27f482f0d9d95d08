#include "tests/chaos/Run.h"

#include "tests/chaos/BadPeer.h"
#include "tests/chaos/BusDriver.h"
#include "tests/chaos/BusWatch.h"
#include "tests/chaos/ConsolePeer.h"
#include "tests/chaos/GoodControllers.h"
#include "tests/chaos/MemoryBound.h"
#include "tests/chaos/Processes.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <csignal>
#include <memory>
#include <ostream>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using testsupport::waitUntil;

namespace chaos
{

namespace
{

/// How often the ledgers look for what is overdue.
constexpr auto checkInterval = 100ms;
/// For so long the router has said nothing when it has said all.
constexpr auto restTime = 500ms;

/// So many without a refusal in between show that the bridge serves everything again.
constexpr std::size_t acknowledgementsInARow = 1000;

constexpr std::size_t outputs = 2304 + 288;

class ChaosRun
{
public:
    ChaosRun(const RunOptions& options, std::ostream& out)
        : m_options(options), m_out(out), m_plan(options.seed, options.length, options.bounds.change + 1s),
          m_world(options.bounds, options.sabotage),
          m_bridge({"17", "3", "Bridge One", "bridge under chaos"}, {}, MemoryBound::environment()),
          m_watch(m_world, {BusDriver::firstPartition, BusDriver::secondPartition}),
          m_driver(m_world, m_watch, options.seed), m_console(m_world), m_peers(Plan::peers)
    {}

    bool perform();

private:
    /// Everything that a sound router has to say is said once: what that costs is there before anything disturbs.
    void warmUp();
    void makeControllers();
    void disturb();
    /// Looks after the invariants until the time is over or the bridge is dead.
    void supervise();
    /// Lets somebody hostile in, who stays nearly to the end.
    void letHostileIn();
    void waitForHostileToLeave();
    void finish();
    /// Nothing disturbs any more: what is asked must be done again, and not refused.
    void expectAcknowledgements();
    /// Everything is at rest: what the bridge tells must be what is on the bus.
    void compareEverything();
    /// Until the router has said what it had to say of the last takes, within the bound for a change.
    void waitForRest();
    void stopControllers();
    void print();

    const RunOptions m_options;
    std::ostream& m_out;
    const Plan m_plan;
    World m_world;
    BridgeProcess m_bridge;
    BusWatch m_watch;
    BusDriver m_driver;
    ConsolePeer m_console;
    std::vector<BadPeer> m_peers;
    std::vector<std::unique_ptr<Controller>> m_takers;
    std::vector<std::unique_ptr<Controller>> m_others;
    Visitor* m_visitor = nullptr;
    std::unique_ptr<testsupport::ChildProcess> m_hostile;
    MemoryBound m_memory{m_world};
    Stopper m_disturbanceStopper;
    std::vector<std::thread> m_disturbances;
    bool m_isBridgeDead = false;
};

void ChaosRun::warmUp()
{
    constexpr int bursts = 5; // fill the buffers that the bridge receives into
    for (int i = 0; i < bursts; ++i)
    {
        const std::uint32_t number = m_world.nextNumber++;
        m_world.changes.mark(number);
        m_driver.burst(number);
        if (!waitUntil([&] { return m_world.changes.figures().marked == outputs; }, m_options.bounds.change))
        {
            m_world.verdict.violation("router", "the status of every output did not arrive on the bus at the start");
        }
    }
}

void ChaosRun::makeControllers()
{
    Dice dice(m_options.seed + 1);
    constexpr std::uint32_t salvo = 40;
    std::uint32_t number = 0;
    m_takers.push_back(std::make_unique<Taker>(m_world, ++number, 0, 1, dice.seed()));
    m_takers.push_back(std::make_unique<Taker>(m_world, ++number, 1, salvo, dice.seed()));
    m_takers.push_back(std::make_unique<Locker>(m_world, ++number, 2, dice.seed()));
    m_others.push_back(std::make_unique<Poller>(m_world, ++number, ChangeLedger::Detail::Everything));
    m_others.push_back(std::make_unique<Poller>(m_world, ++number, ChangeLedger::Detail::Everything));
    m_others.push_back(std::make_unique<Poller>(m_world, ++number, ChangeLedger::Detail::InputOnly));
    m_others.push_back(std::make_unique<Asker>(m_world, ++number, dice.seed()));
    auto visitor = std::make_unique<Visitor>(m_world, ++number);
    m_visitor = visitor.get();
    m_others.push_back(std::move(visitor));
}

void ChaosRun::disturb()
{
    m_disturbances.emplace_back([this] {
        try
        {
            m_driver.perform(m_plan.bus(), m_disturbanceStopper);
        }
        catch (const std::exception& error)
        {
            m_world.verdict.violation("router", error.what());
        }
    });
    m_disturbances.emplace_back([this] { m_console.perform(m_plan.console(), m_disturbanceStopper); });
    for (std::size_t i = 0; i < m_peers.size(); ++i)
    {
        m_disturbances.emplace_back([this, i] { m_peers[i].perform(m_plan.peer(i), m_disturbanceStopper); });
    }
}

void ChaosRun::supervise()
{
    const auto begin = Clock::now();
    bool isSabotaged = false;
    while (Clock::now() - begin < m_options.length && m_bridge.isRunning())
    {
        m_world.takes.check(Clock::now());
        if (m_options.isWithHostileMember && !m_hostile)
        {
            m_memory.watch(m_bridge.pid());
            if (Clock::now() - begin > m_options.length / 3)
            {
                letHostileIn(); // when all others have shown what memory they cost
            }
        }
        if (!isSabotaged && Clock::now() - begin > m_options.length / 2)
        {
            isSabotaged = true;
            m_world.isSabotageOpen = m_options.sabotage != Sabotage::None;
            if (m_world.takesSabotage(Sabotage::DeadBridge))
            {
                m_bridge.signal(SIGKILL);
            }
        }
        std::this_thread::sleep_for(checkInterval);
    }
}

void ChaosRun::letHostileIn()
{
    m_world.answers.setCircumstance("somebody hostile");
    m_hostile = std::make_unique<testsupport::ChildProcess>(
        testsupport::buildFolder() / "tests/chaos/chaos",
        std::vector<std::string>{"--be-hostile", "--seed", std::to_string(m_options.seed), "--seconds",
                                 std::to_string(std::max<std::int64_t>(1, m_options.length.count() / 2))});
}

void ChaosRun::waitForHostileToLeave()
{
    if (m_hostile && m_hostile->waitForExit(m_options.length + 30s) != 0)
    {
        m_world.verdict.violation("program", "somebody hostile did not end well: " + m_hostile->errors());
    }
}

bool ChaosRun::perform()
{
    m_out << "chaos: seed " << m_options.seed << ", " << m_options.length.count() << " s" << std::endl;
    m_world.stalls.watch(m_bridge.pid());
    if (!testsupport::waitForPort(koraPort, 60s))
    {
        m_world.verdict.violation("bridge", "the controller port did not open at the start");
    }
    else
    {
        warmUp();
        makeControllers();
        for (auto* controllers : {&m_takers, &m_others})
        {
            for (const auto& controller : *controllers)
            {
                controller->start();
            }
        }
        disturb();
        supervise();
        try
        {
            finish();
        }
        catch (const std::exception& error)
        {
            m_world.verdict.violation("program", error.what());
            stopControllers();
        }
    }
    print();
    return m_world.verdict.count() == 0;
}

void ChaosRun::finish()
{
    m_isBridgeDead = !m_bridge.isRunning();
    if (m_isBridgeDead)
    {
        m_world.verdict.violation("bridge", "the bridge has died");
    }
    m_disturbanceStopper.stop();
    for (auto& disturbance : m_disturbances)
    {
        disturbance.join();
    }
    waitForHostileToLeave();
    m_world.answers.setCircumstance("the end");
    if (!m_isBridgeDead)
    {
        expectAcknowledgements();
    }
    for (const auto& taker : m_takers)
    {
        taker->stop();
    }
    if (!m_isBridgeDead)
    {
        compareEverything();
        m_console.inspect();
        m_memory.end();
    }
    for (const auto& controller : m_others)
    {
        controller->stop();
    }
    if (!m_isBridgeDead)
    {
        const auto status = m_bridge.stop(m_options.bounds.exit);
        if (status != 0)
        {
            m_world.verdict.violation("bridge", "the bridge ended with " +
                                                    (status ? std::to_string(*status) : "nothing in time"));
        }
    }
    if (m_world.takesSabotage(Sabotage::Escape))
    {
        m_bridge.addLine("\x1b[2J");
    }
    for (const auto& line : m_bridge.errorLines())
    {
        m_world.verdict.violation("bridge", "the bridge said: " + line);
    }
}

void ChaosRun::expectAcknowledgements()
{
    TakeLedger::Figures begin = m_world.takes.figures();
    const bool isServed = waitUntil(
        [&] {
            const auto now = m_world.takes.figures();
            if (now.refusedTakes != begin.refusedTakes)
            {
                begin = now; // the bus may just have become whole
            }
            return now.acknowledged >= begin.acknowledged + acknowledgementsInARow;
        },
        m_options.bounds.change);
    if (!isServed)
    {
        const auto end = m_world.takes.figures();
        m_world.verdict.violation("take",
                                  "takes are still refused, or not answered, though nothing disturbs any more: of all "
                                  "requests so far " +
                                      std::to_string(end.acknowledged) + " were acknowledged and " +
                                      std::to_string(end.refusedTakes) + " takes refused");
    }
}

void ChaosRun::waitForRest()
{
    auto published = m_world.changes.figures().published;
    auto since = Clock::now();
    waitUntil(
        [&] {
            const auto now = m_world.changes.figures().published;
            if (now != published)
            {
                published = now;
                since = Clock::now();
            }
            return Clock::now() - since >= restTime;
        },
        m_options.bounds.change);
}

void ChaosRun::compareEverything()
{
    // What is acknowledged and does not come is found by the check.
    waitUntil([this] { return m_world.takes.awaited() == 0; }, m_options.bounds.take);
    m_world.takes.check(Clock::now() + m_options.bounds.take);
    waitForRest();
    // Not all that comes is of this burst: on a busy machine the router has more to say of the last takes.
    const std::uint32_t number = m_world.nextNumber++;
    m_world.changes.mark(number);
    const auto before = m_world.changes.figures();
    if (!m_world.takesSabotage(Sabotage::SilentRouter))
    {
        m_driver.burst(number);
    }
    if (!waitUntil([&] { return m_world.changes.figures().marked == outputs; }, m_options.bounds.change))
    {
        m_world.verdict.violation("router", "the status of every output did not arrive on the bus at the end");
    }
    if (!waitUntil([this] { return m_world.changes.open() == 0; }, 3 * m_options.bounds.change))
    {
        m_world.verdict.violation("bridge",
                                  std::to_string(m_world.changes.open()) + " outputs were not compared at the end");
    }
    if (m_world.changes.figures().compared < before.compared + outputs)
    {
        m_world.verdict.violation("bridge", "only " +
                                                std::to_string(m_world.changes.figures().compared - before.compared) +
                                                " outputs were compared at the end");
    }
}

void ChaosRun::stopControllers()
{
    for (auto* controllers : {&m_takers, &m_others})
    {
        for (const auto& controller : *controllers)
        {
            controller->stop();
        }
    }
}

template <typename Act>
void printPerformed(std::ostream& out, const std::string& who, const std::map<Act, std::size_t>& performed)
{
    out << who << ":";
    for (const auto& [act, count] : performed)
    {
        out << " " << nameOf(act) << " " << count << ",";
    }
    out << "\n";
}

void ChaosRun::print()
{
    const auto takes = m_world.takes.figures();
    const auto changes = m_world.changes.figures();
    printPerformed(m_out, "bus", m_driver.performed());
    std::map<PeerAct, std::size_t> peers;
    for (const auto& peer : m_peers)
    {
        for (const auto& [act, count] : peer.performed())
        {
            peers[act] += count;
        }
    }
    printPerformed(m_out, "controllers", peers);
    printPerformed(m_out, "console", m_console.performed());
    if (m_hostile)
    {
        m_out << "hostile:" << m_hostile->output() << "the bridge's own memory: " << m_memory.before() << " kB before, "
              << m_memory.after() << " kB after\n";
    }
    m_out << "takes and locks: " << takes.acknowledged << " acknowledged, " << takes.found
          << " found on the bus, the last " << milliseconds(takes.longest) << " later at most; " << takes.refused
          << " refused (" << takes.refusedTakes << " takes), " << takes.unanswered << " unanswered\n"
          << "changes: " << changes.published << " status on the bus, " << changes.reported << " reported, "
          << changes.compared << " compared, " << changes.superseded << " superseded before\n"
          << "visits of new controllers: " << (m_visitor != nullptr ? m_visitor->visits() : 0) << "\n";
    m_world.answers.print(m_out);
    m_out << m_world.answers.count() << " answers, the longest after " << milliseconds(m_world.answers.longest())
          << " (bound " << m_options.bounds.answer.count()
          << " ms); the machine kept the bridge and this program waiting for " << milliseconds(m_world.stalls.total())
          << "\n"
          << m_bridge.lineCount() << " lines of the bridge's log\n";
    if (m_world.verdict.count() != 0)
    {
        m_out << "--- the bridge's last lines\n";
        for (const auto& line : m_bridge.lastLines())
        {
            m_out << line << "\n";
        }
        m_out << "---\n";
        for (const auto& text : m_world.verdict.texts())
        {
            m_out << "VIOLATION: " << text << "\n";
        }
    }
    for (const auto& [kind, count] : m_world.verdict.counts())
    {
        m_out << "violations (" << kind << "): " << count << "\n";
    }
    m_out << "chaos: seed " << m_options.seed << ": " << m_world.verdict.count() << " violations" << std::endl;
}

} // namespace

bool run(const RunOptions& options, std::ostream& out)
{
    return ChaosRun(options, out).perform();
}

} // namespace chaos
