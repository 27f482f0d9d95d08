#include "koraclient/KoraClient.h"
#include "tests/e2e/allocations/BridgeWithin.h"
#include "tests/e2e/allocations/ThreadAllocations.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <bit>
#include <functional>
#include <string>
#include <vector>

namespace
{

using koraclient::KoraClient;
using testsupport::waitUntil;

constexpr std::uint32_t audioLevel = 2;

class AllocationsTest : public BridgeWithin
{
protected:
    static constexpr int numRequests = 5000;
    /// What waits for the recorder of durable targets lies in four vectors, which grow when a busy machine lets the
    /// recorder wait, each time to double the size: no further than to all of the takes, 64 in each request at most.
    static constexpr std::size_t growthOfQueue = 4 * std::bit_width(std::size_t{numRequests} * 64);

    /// Repeats a request, first until everything that grows has grown, and counts what the two threads that it passes
    /// through take from then on, over all requests together.
    static void expectAtMost(std::size_t most, const std::string& what, const std::function<void()>& request)
    {
        for (int i = 0; i < numRequests / 10; ++i)
        {
            request();
        }
        const std::size_t before = taken();
        for (int i = 0; i < numRequests; ++i)
        {
            request();
        }
        EXPECT_LE(taken() - before, most) << what << ", " << numRequests << " requests";
    }
    static void expectNone(const std::string& what, const std::function<void()>& request)
    {
        expectAtMost(0, what, request);
    }

    static std::size_t taken() { return threadAllocations::of("Bridge Apartmen") + threadAllocations::of("Kora:"); }
};

std::vector<koraclient::TakeEntry> takes(std::uint32_t count, std::uint32_t input)
{
    std::vector<koraclient::TakeEntry> entries;
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
    expectAtMost(growthOfQueue, "take of 1", [&] { ASSERT_EQ(controller.take(takes(1, nextInput())).at(0), 0U); });
    expectAtMost(growthOfQueue, "take of 64", [&] { ASSERT_EQ(controller.take(takes(64, nextInput())).at(63), 0U); });
    expectAtMost(growthOfQueue, "coherent take of 16",
                 [&] { ASSERT_EQ(controller.coherentTake(takes(16, nextInput())).at(15), 0U); });
    bool isLocked = false;
    const auto nextCommand = [&isLocked] {
        isLocked = !isLocked;
        return isLocked ? koraclient::LprCommand::lock : koraclient::LprCommand::release;
    };
    expectAtMost(growthOfQueue, "lock and release", [&] {
        const std::vector<koraclient::LprEntry> entries{
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

TEST_F(AllocationsTest, ChangesThatArePendingAreReportedWithoutMemoryFromTheHeap)
{
    constexpr std::uint32_t outputs = 2304;
    KoraClient controller("127.0.0.1", koraPort, testsupport::scaled(std::chrono::seconds(10)));
    ASSERT_TRUE(waitUntil([&] { return controller.outputStatus(0, audioLevel, outputs, 1).entries.at(0).input == 5; }));
    for (std::uint32_t round = 0; round < 20; ++round)
    {
        const std::uint32_t input = 100 + round;
        const std::uint32_t format = round % 2; // the short one and the one with the lock state
        m_router.write("burst audio 1 2304 " + std::to_string(input) + "\n");
        // The apartment takes memory for each event of the bus, and the events behind the one that brought the last
        // output are still to come: all are done when every output has the input and asking for them took nothing.
        ASSERT_TRUE(waitUntil([&] {
            const std::size_t before = taken();
            std::uint32_t seen = 0;
            for (std::uint32_t first = 1; first <= outputs; first += 288)
            {
                for (const auto& entry : controller.outputStatus(0, audioLevel, first, 288).entries)
                {
                    seen += entry.input == input ? 1U : 0U;
                }
            }
            return seen == outputs && taken() == before;
        }));
        const std::size_t before = taken();
        std::uint32_t reported = 0;
        for (bool isMore = true; isMore;)
        {
            const auto changes = controller.outputChanges(format, audioLevel);
            reported += static_cast<std::uint32_t>(changes.entries.size());
            isMore = changes.more;
        }
        EXPECT_EQ(reported, outputs);
        // The first rounds fill the pools.
        EXPECT_TRUE(round < 2 || taken() == before) << "round " << round << ": " << taken() - before;
    }
}

TEST_F(AllocationsTest, TheCountSeesWhatTheApartmentTakes)
{
    const std::size_t before = threadAllocations::of("Bridge Apartmen");

    m_router.write("burst audio 1 100 7\n");

    EXPECT_TRUE(waitUntil([&] { return threadAllocations::of("Bridge Apartmen") > before; }));
}
