#include "tests/e2e/support/BridgeFixture.h"

#include <algorithm>
#include <numeric>
#include <set>

using namespace e2e;
using com::tallowcrest::dds_::routing::LPR_LOCKED;

namespace
{

constexpr std::size_t audioOutputs = 2304;
constexpr std::size_t limitFormat1 = 679;
constexpr std::size_t limitOther = 64;

class ChangesTest : public BridgeFixture
{
protected:
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(startJoined()); }

    static std::set<std::uint32_t> outputsOf(const std::vector<koraclient::OutputChange>& changes)
    {
        std::set<std::uint32_t> outputs;
        for (const auto& change : changes)
        {
            outputs.insert(change.output);
        }
        return outputs;
    }
};

} // namespace

TEST_F(ChangesTest, NewConnectionFirstSeesEveryOutputOnce)
{
    auto client = connectController();

    const auto changes = drainChanges(client, videoLevel);

    EXPECT_EQ(changes.size(), 288U);
    EXPECT_EQ(outputsOf(changes).size(), 288U);
    EXPECT_TRUE(drainChanges(client, videoLevel).empty());
}

TEST_F(ChangesTest, ShortFormatFillsAMessageWith679Entries)
{
    auto client = connectController();

    const auto first = client.outputChanges(1, audioLevel);

    EXPECT_EQ(first.entries.size(), limitFormat1);
    EXPECT_TRUE(first.more);
    const auto rest = drainChanges(client, audioLevel, 1);
    EXPECT_EQ(first.entries.size() + rest.size(), audioOutputs);
    auto outputs = outputsOf(first.entries);
    outputs.merge(outputsOf(rest));
    EXPECT_EQ(outputs.size(), audioOutputs);
}

TEST_F(ChangesTest, LongFormatCarries64EntriesAndContinues)
{
    auto client = connectController();

    const auto first = client.outputChanges(0, audioLevel);
    const auto second = client.outputChanges(0, audioLevel);

    EXPECT_EQ(first.entries.size(), limitOther);
    EXPECT_TRUE(first.more);
    EXPECT_EQ(second.entries.front().output, first.entries.back().output + 1);
    EXPECT_EQ(first.entries.size() + second.entries.size() + drainChanges(client, audioLevel).size(), audioOutputs);
}

TEST_F(ChangesTest, EveryControllerSeesAChangeExactlyOnce)
{
    std::vector<koraclient::KoraClient> clients;
    for (int i = 0; i < 3; ++i)
    {
        clients.push_back(connectController());
        drainChanges(clients.back(), videoLevel);
    }

    router().setStatus(Signal::Video, xpt(100, 50, 9, LPR_LOCKED));

    for (auto& client : clients)
    {
        std::vector<koraclient::OutputChange> changes;
        ASSERT_TRUE(testsupport::waitUntil([&] { return !(changes = drainChanges(client, videoLevel)).empty(); }));
        EXPECT_EQ(changes, (std::vector<koraclient::OutputChange>{{0, 100, 50, 1, 9}}));
        EXPECT_TRUE(drainChanges(client, videoLevel).empty());
    }
}

TEST_F(ChangesTest, ChangeOfNothingButTheTimeIsNotReported)
{
    auto client = connectController();
    router().setStatus(Signal::Video, xpt(100, 50));
    ASSERT_TRUE(waitForChange(client, videoLevel, [](const auto& c) { return c.output == 100 && c.input == 50; }));
    auto later = xpt(100, 50);
    later.when = 0x02000010;

    router().setStatus(Signal::Video, later);
    router().setStatus(Signal::Video, xpt(101, 51));

    ASSERT_TRUE(waitForChange(client, videoLevel, [](const auto& c) {
        EXPECT_NE(c.output, 100U);
        return c.output == 101;
    }));
}

TEST_F(ChangesTest, DisposedStatusIsReportedAsNoRoute)
{
    auto client = connectController();
    router().setStatus(Signal::Video, xpt(100, 50, 9, LPR_LOCKED));
    ASSERT_TRUE(waitForChange(client, videoLevel, [](const auto& c) { return c.output == 100 && c.input == 50; }));

    router().disposeStatus(Signal::Video, 100);

    EXPECT_TRUE(waitForChange(client, videoLevel, [](const auto& c) {
        return c.output == 100 && c.result == 3 && c.lprState == 0 && c.lprId == 0;
    }));
}

TEST_F(ChangesTest, BurstOfStatusReachesEveryController)
{
    auto client = connectController();
    drainChanges(client, audioLevel, 1);
    std::vector<MacroXptOutput> statuses;
    for (std::uint32_t output = 1; output <= audioOutputs; ++output)
    {
        statuses.push_back(xpt(output, audioOutputs + 1 - output));
    }

    router().setStatuses(Signal::Audio, statuses);

    std::set<std::uint32_t> seen;
    EXPECT_TRUE(testsupport::waitUntil([&] {
        for (const auto& change : drainChanges(client, audioLevel, 1))
        {
            EXPECT_EQ(change.input, audioOutputs + 1 - change.output);
            seen.insert(change.output);
        }
        return seen.size() == audioOutputs;
    }));
}

TEST_F(ChangesTest, StatusDisposedStraightAfterItWasPublishedLeavesNoRoute)
{
    auto client = connectController();
    drainChanges(client, videoLevel);

    for (std::uint32_t output = 1; output <= 50; ++output)
    {
        router().setStatus(Signal::Video, xpt(output, 50));
        router().disposeStatus(Signal::Video, output);
    }
    router().setStatus(Signal::Video, xpt(51, 50));

    ASSERT_TRUE(waitForInput(client, videoLevel, 51, 50));
    for (const auto& entry : client.outputStatus(0, videoLevel, 1, 50).entries)
    {
        EXPECT_EQ(entry.result, 3U);
    }
}
