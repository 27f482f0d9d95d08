#include "tests/chaos/Controller.h"
#include "tests/chaos/Processes.h"
#include "tests/flatness/EndpointWatch.h"
#include "tests/flatness/Figures.h"
#include "tests/flatness/Load.h"
#include "tests/support/MeaningfulMemory.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/WaitUntil.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <iomanip>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using namespace flatness;

namespace
{

/// libddsc 0.10.2 and 0.10.5 keep some 600 bytes for each reader and writer that was ever made; a join makes eleven of
/// them, and the heap has its own part in it. e2e_join_memory looks closer.
constexpr std::size_t libraryBytesPerJoin = 10240;
/// Its receive buffers have 1 MiB each; how many are partly in use at the end of a row of joins varies.
constexpr std::size_t libraryBuffersKiB = 8192;

/// What a bridge that has joined has at least: the writer of its component record, the reader of memberships, and the
/// eleven that a join makes.
constexpr std::size_t fewestEndpoints = 13;

/// SQLite does not close a descriptor of the store while another connection has a lock, but keeps one for its next use.
constexpr std::size_t keptBySqlite = 1;

/// All that must be flat, of a bridge at rest.
struct Witnesses
{
    ProcessFigures process;
    std::size_t endpoints = 0;
    std::size_t poolsInUse = 0;
    std::size_t poolBlocks = 0;

    bool hasSameCounts(const Witnesses& other) const
    {
        return process.descriptors <= other.process.descriptors + keptBySqlite &&
               process.threads == other.process.threads && endpoints == other.endpoints &&
               poolsInUse == other.poolsInUse;
    }
};

class Flatness
{
public:
    Flatness()
    {
        m_router.start("R1");
        if (!testsupport::waitForPort(chaos::koraPort, 60s))
        {
            throw std::runtime_error("the controller port does not open");
        }
        if (!testsupport::waitUntil([this] { return m_endpoints.endpointsOfBridge() >= fewestEndpoints; }, 30s))
        {
            throw std::runtime_error("only " + std::to_string(m_endpoints.endpointsOfBridge()) +
                                     " readers and writers of the bridge are seen on the bus");
        }
    }

    bool perform(const Amount& amount, std::size_t warmUpDivisor, std::size_t allowedKiB);

private:
    static void perform(Load& load, const Amount& amount);
    Witnesses look();
    /// Waits until the counts are those of `before`, as connections take a moment to go.
    Witnesses lookAtRest(const Witnesses& before);
    static void print(const std::string& when, const Witnesses& witnesses);

    chaos::BridgeProcess m_bridge{{"17", "3", "Bridge One", "bridge at length"}, Load::joinText};
    chaos::RouterProcess m_router;
    EndpointWatch m_endpoints;
};

Witnesses Flatness::look()
{
    const PoolTable pools = parsePoolTable(askConsole("show mem"));
    // Nobody at the console any more.
    testsupport::waitUntil([this, lines = m_bridge.lineCount()] { return m_bridge.lineCount() > lines; }, 3s);
    return {ProcessFigures::of(m_bridge.pid()), m_endpoints.endpointsOfBridge(), inUse(pools), blocks(pools)};
}

Witnesses Flatness::lookAtRest(const Witnesses& before)
{
    Witnesses now = look();
    testsupport::waitUntil(
        [&] {
            now = look();
            return now.hasSameCounts(before);
        },
        30s);
    return now;
}

void Flatness::print(const std::string& when, const Witnesses& witnesses)
{
    std::cout << std::left << std::setw(12) << when << std::right << std::setw(10) << witnesses.process.residentKiB
              << " KiB resident, " << witnesses.process.descriptors << " descriptors, " << witnesses.process.threads
              << " threads, " << witnesses.endpoints << " DDS readers and writers, " << witnesses.poolsInUse
              << " pool buffers in use, " << witnesses.poolBlocks << " pool blocks" << std::endl;
}

void Flatness::perform(Load& load, const Amount& amount)
{
    const Amount before = load.done();
    const auto begin = std::chrono::steady_clock::now();
    load.perform(amount, [](const Amount&) {});
    const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const Amount done = load.done();
    std::cout << done.commands - before.commands << " commands, " << done.connections - before.connections
              << " connections, " << done.joins - before.joins << " joins, " << done.sessions - before.sessions
              << " console sessions in " << std::fixed << std::setprecision(0) << seconds << " s" << std::endl;
}

bool Flatness::perform(const Amount& amount, std::size_t warmUpDivisor, std::size_t allowedKiB)
{
    Load load(m_bridge, m_router);
    const Witnesses atStart = look();
    print("at start", atStart);
    load.perform(amount.dividedBy(warmUpDivisor), [](const Amount&) {});
    const Witnesses warm = lookAtRest(atStart);
    print("warmed up", warm);

    bool isFlat = true;
    const auto fail = [&](const std::string& text) {
        std::cout << "NOT FLAT: " << text << std::endl;
        isFlat = false;
    };
    const auto check = [&](const Witnesses& before, const Witnesses& now, std::size_t allowed) {
        const auto growth = static_cast<long>(now.process.residentKiB) - static_cast<long>(before.process.residentKiB);
        std::cout << "resident memory grew by " << growth << " KiB, " << allowed << " KiB are allowed" << std::endl;
        if (testsupport::isMemoryMeaningful && growth >= static_cast<long>(allowed))
        {
            fail("memory");
        }
        if (!now.hasSameCounts(before))
        {
            fail("something has not returned to where it was; descriptors now:\n" +
                 describeDescriptors(m_bridge.pid()));
        }
    };
    perform(load, {amount.commands, amount.connections, 0, amount.sessions});
    const Witnesses busy = lookAtRest(warm);
    print("commands", busy);
    check(warm, busy, allowedKiB);
    perform(load, {0, 0, amount.joins, 0});
    const Witnesses joined = lookAtRest(busy);
    print("joins", joined);
    check(busy, joined, allowedKiB + libraryBuffersKiB + amount.joins * libraryBytesPerJoin / 1024);

    for (const auto& line : m_bridge.errorLines())
    {
        fail("the bridge said: " + line);
    }
    if (const auto status = m_bridge.stop(60s); status != 0)
    {
        fail("the bridge ended with " + (status ? std::to_string(*status) : "nothing in time"));
    }
    return isFlat;
}

} // namespace

int main(int argc, char** argv)
{
    Amount amount{40'000, 400, 10, 4};
    std::size_t warmUpDivisor = 1;
    std::size_t allowedKiB = 1024;
    CLI::App app(
        "Gives a bridge much to do and checks that neither its memory nor anything else grows. Needs a network "
        "namespace of its own (tests/support/in-namespace).",
        "flatness");
    app.add_option("--commands", amount.commands, "Messages")->capture_default_str();
    app.add_option("--connections", amount.connections, "Controllers that come and go")->capture_default_str();
    app.add_option("--joins", amount.joins, "Memberships announced again")->capture_default_str();
    app.add_option("--sessions", amount.sessions, "At the console")->capture_default_str();
    app.add_option("--warm-up", warmUpDivisor, "The warm-up is the whole divided by this")->capture_default_str();
    app.add_option("--allowed-kib", allowedKiB, "Growth of resident memory that is too much")->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    try
    {
        return Flatness().perform(amount, warmUpDivisor, allowedKiB) ? 0 : 1;
    }
    catch (const std::exception& error)
    {
        std::cerr << "flatness: " << error.what() << std::endl;
        return 2;
    }
}
