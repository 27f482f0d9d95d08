#include "ddskorabridge/MacroXptMgrStatus.h"
#include "koracommand/LevelAccess.h"
#include "tests/e2e/allocations/BridgeWithin.h"
#include "tests/e2e/allocations/ThreadAllocations.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"
#include "tools/koractl/KoraClient.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace
{

using koractl::KoraClient;
using testsupport::waitUntil;

constexpr std::uint32_t audioLevel = 2;

class AllocationsTest : public BridgeWithin
{
protected:
    /// Repeats a request, first until everything that grows has grown, and counts what the two threads that it passes
    /// through take from then on. Of ten counts the smallest: something may come from the bus meanwhile and take memory
    /// of its own, and what waits for the recorder grows when a busy machine lets the recorder wait.
    static void expectNone(const std::string& what, const std::function<void()>& request)
    {
        constexpr int numRequests = 500;
        for (int i = 0; i < numRequests; ++i)
        {
            request();
        }
        std::size_t smallest = std::numeric_limits<std::size_t>::max();
        for (int attempt = 0; attempt < 10 && smallest > 0; ++attempt)
        {
            const std::size_t before = taken();
            for (int i = 0; i < numRequests; ++i)
            {
                request();
            }
            smallest = std::min(smallest, taken() - before);
        }
        EXPECT_EQ(smallest, 0U) << what << ", " << numRequests << " requests";
    }

    static std::size_t taken() { return threadAllocations::of("Bridge Apartmen") + threadAllocations::of("Kora:"); }
};

std::vector<koractl::TakeEntry> takes(std::uint32_t count, std::uint32_t input)
{
    std::vector<koractl::TakeEntry> entries;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        entries.push_back({.level = audioLevel, .lprId = 1, .input = input, .output = i + 1});
    }
    return entries;
}

} // namespace

TEST_F(AllocationsTest, NoCommandTakesMemoryFromTheHeapOnItsWayThroughTheBridge)
{
    KoraClient controller("127.0.0.1", koraPort, testsupport::scaled(std::chrono::seconds(10)));
    ASSERT_TRUE(waitUntil([&] { return controller.take(takes(1, 1)).at(0) == 0; }));
    ASSERT_TRUE(waitUntil([&] { return controller.outputStatus(0, audioLevel, 2304, 1).entries.at(0).input == 5; }));
    while (controller.outputChanges(0, audioLevel).more)
    {}
    ASSERT_GT(threadAllocations::numThreads("Bridge Apartmen"), 0U);
    ASSERT_GT(threadAllocations::numThreads("Kora:"), 0U);

    std::uint32_t input = 0;
    const auto nextInput = [&input] { return 1 + input++ % 2304; };
    expectNone("take of 1", [&] { ASSERT_EQ(controller.take(takes(1, nextInput())).at(0), 0U); });
    expectNone("take of 64", [&] { ASSERT_EQ(controller.take(takes(64, nextInput())).at(63), 0U); });
    expectNone("coherent take of 16", [&] { ASSERT_EQ(controller.coherentTake(takes(16, nextInput())).at(15), 0U); });
    bool isLocked = false;
    const auto nextCommand = [&isLocked] {
        isLocked = !isLocked;
        return isLocked ? koractl::LprCommand::lock : koractl::LprCommand::release;
    };
    expectNone("lock and release", [&] {
        const std::vector<koractl::LprEntry> entries{
            {.level = audioLevel, .output = 100, .command = nextCommand(), .lprId = 7}};
        ASSERT_EQ(controller.setOutputLpr(entries).results.at(0), 0U);
    });
    expectNone("tally of 288", [&] { ASSERT_EQ(controller.tally(audioLevel, 1, 288).entries.size(), 288U); });
    expectNone("status of 288",
               [&] { ASSERT_EQ(controller.outputStatus(0, audioLevel, 1, 288).entries.size(), 288U); });
    expectNone("no changes", [&] { ASSERT_TRUE(controller.outputChanges(0, audioLevel).entries.empty()); });
    expectNone("partition info", [&] { controller.partitionInfo(); });
    expectNone("port presence", [&] { controller.portPresent(); });
    expectNone("system status", [&] { controller.systemStatus(4); });
    expectNone("card presence", [&] { controller.cardPresence(0); });
}

TEST_F(AllocationsTest, TheCountSeesWhatTheApartmentTakes)
{
    const std::size_t before = threadAllocations::of("Bridge Apartmen");

    m_router.write("burst audio 1 100 7\n");

    EXPECT_TRUE(waitUntil([&] { return threadAllocations::of("Bridge Apartmen") > before; }));
}
