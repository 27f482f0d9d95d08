#include "buswrappers/TopicSub.h"

#include "buswrappers/ListenerEvents.h"
#include "buswrappers/TypedTopics.h"
#include "runtime/apartment/Apartment.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/support/LogRecorder.h"
#include "tests/unit/buswrappers/RouterSide.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace com::tallowcrest::routing;
using com::tallowcrest::dds_::routing::MacroLevel;
using com::tallowcrest::dds_::routing::MacroXptOutput;

namespace
{

const std::string prefix = "com:tallowcrest:routing:";

/// Takes at every data available event and keeps what it got, and how much each time.
class TakingSub final : public MacroXptOutputSub
{
public:
    using MacroXptOutputSub::MacroXptOutputSub;

    void onDataAvailable() override
    {
        const auto samples = takeAll();
        m_takes.push_back(samples.length());
        for (const auto& sample : samples)
        {
            m_samples.push_back(sample);
        }
        m_thread = std::this_thread::get_id();
        m_count = static_cast<int>(m_samples.size());
    }
    void onSubscriptionMatched(const dds::core::status::SubscriptionMatchedStatus& status) override
    {
        m_writers = status.current_count();
    }
    std::size_t takeNow() { return takeAll().length(); }

    std::vector<dds::sub::Sample<MacroXptOutput>> m_samples;
    std::vector<std::size_t> m_takes;
    std::thread::id m_thread;
    std::atomic<int> m_count{0};
    std::atomic<int> m_writers{0};
};

/// Counts the levels that it gets.
class CountingLevels final : public MacroLevelSub
{
public:
    using MacroLevelSub::MacroLevelSub;

    void onDataAvailable() override { m_count += takeAll().length(); }

    std::size_t m_count = 0;
};

MacroXptOutput output(std::uint32_t number, std::uint32_t input = 0)
{
    MacroXptOutput result;
    result.macroXptOutput = number;
    result.macroXptInput = input;
    return result;
}

} // namespace

class TopicSubTest : public testing::Test
{
protected:
    std::shared_ptr<FakeApartment> m_apartment = std::make_shared<FakeApartment>();
    testsupport::WireDomain m_wire;
};

TEST_F(TopicSubTest, TakesNothingBeforeTheFirstJoin)
{
    TakingSub sut(m_apartment, "TopicX", false);

    EXPECT_EQ(sut.takeNow(), 0U);
    EXPECT_EQ(sut.topicName(), "TopicX");
    EXPECT_EQ(sut.routerPartition(), "");
    EXPECT_EQ(m_apartment->pending(), 0U);
}

TEST_F(TopicSubTest, ReaderIsAnnouncedWithTheQosOfTheBus)
{
    TakingSub sut(m_apartment, "TopicX", false);
    sut.joinRouterPartition("R1");

    const auto announced = m_wire.discoveredReader("TopicX");
    ASSERT_TRUE(announced);
    EXPECT_EQ(announced->typeName, "com::tallowcrest::dds_::routing::MacroXptOutput");
    EXPECT_EQ(announced->durability(), DDS_DURABILITY_TRANSIENT_LOCAL);
    EXPECT_NE(announced->reliableFor(), -1);
    EXPECT_EQ(announced->partition(), prefix + "R1");
    EXPECT_EQ(sut.routerPartition(), "R1");
}

TEST_F(TopicSubTest, DurableReaderIsAnnouncedPersistent)
{
    MacroXptOutputSub sut(m_apartment, "TopicX", true);
    sut.joinRouterPartition("R1");

    const auto announced = m_wire.discoveredReader("TopicX");
    ASSERT_TRUE(announced);
    EXPECT_EQ(announced->durability(), DDS_DURABILITY_PERSISTENT);
}

TEST_F(TopicSubTest, TheOtherWrappersAreTransientLocalAndOfTheirTypes)
{
    MacroLevelSub levels(m_apartment, "TopicLevels");
    RouterMemberSub members(m_apartment, "TopicMembers");
    RouterMemberXptsSub ranges(m_apartment, "TopicRanges");
    levels.joinRouterPartition("R1");
    members.joinRouterPartition("");
    ranges.joinRouterPartition("R1");

    const auto level = m_wire.discoveredReader("TopicLevels");
    const auto member = m_wire.discoveredReader("TopicMembers");
    const auto range = m_wire.discoveredReader("TopicRanges");
    ASSERT_TRUE(level && member && range);
    EXPECT_EQ(level->durability(), DDS_DURABILITY_TRANSIENT_LOCAL);
    EXPECT_EQ(level->typeName, "com::tallowcrest::dds_::routing::MacroLevel");
    EXPECT_EQ(member->durability(), DDS_DURABILITY_TRANSIENT_LOCAL);
    EXPECT_EQ(member->typeName, "com::tallowcrest::dds_::routing::RouterMember");
    EXPECT_EQ(member->partition(), prefix);
    EXPECT_EQ(range->durability(), DDS_DURABILITY_TRANSIENT_LOCAL);
    EXPECT_EQ(range->typeName, "com::tallowcrest::dds_::routing::RouterMemberMacroXpts");
}

TEST_F(TopicSubTest, PartitionOfSixteenCharactersIsUsedWhole)
{
    TakingSub sut(m_apartment, "TopicX", false);
    sut.joinRouterPartition("0123456789abcdef");

    const auto announced = m_wire.discoveredReader("TopicX");
    ASSERT_TRUE(announced);
    EXPECT_EQ(announced->partition(), "com:tallowcrest:routing:0123456789abcdef");
}

TEST_F(TopicSubTest, SampleArrivesOnTheApartmentsThread)
{
    const auto apartment = std::make_shared<com::tallowcrest::apartment::Apartment>("Test Apartment");
    apartment->start();
    TakingSub sut(apartment, "TopicX", false);
    sut.joinRouterPartition("R1");
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");

    router.writer().write(output(3, 4));

    EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_count == 1; }));
    EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_writers == 1; }));
    apartment->stop();
    ASSERT_EQ(sut.m_samples.size(), 1U);
    EXPECT_EQ(sut.m_samples[0].data().macroXptInput, 4U);
    EXPECT_NE(sut.m_thread, std::this_thread::get_id());
}

TEST_F(TopicSubTest, FirstOfSeveralEventsTakesAllAndTheOthersFindNothing)
{
    TakingSub sut(m_apartment, "TopicX", false);
    sut.joinRouterPartition("R1");
    MacroXptOutputPub local("TopicX", false);
    local.joinRouterPartition("R1");
    m_apartment->runAll(); // the match

    local.write(output(1));
    local.write(output(2));
    local.write(output(3));
    m_apartment->runAll();

    EXPECT_EQ(sut.m_takes, (std::vector<std::size_t>{3, 0, 0}));
}

TEST_F(TopicSubTest, DisposeAndUnregisterAreSeenAsInvalidSamplesWithTheirKeys)
{
    TakingSub sut(m_apartment, "TopicX", false);
    sut.joinRouterPartition("R1");
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");
    router.writer().write(output(1, 10));
    router.writer().write(output(2, 20));
    ASSERT_TRUE(m_apartment->runUntil([&] { return sut.m_count == 2; }));

    router.writer().dispose_instance(router.writer().register_instance(output(1)));

    ASSERT_TRUE(m_apartment->runUntil([&] { return sut.m_count == 3; }));
    EXPECT_FALSE(sut.m_samples[2].info().valid());
    EXPECT_EQ(sut.m_samples[2].data().macroXptOutput, 1U);
    EXPECT_EQ(sut.m_samples[2].data().macroXptInput, 0U);
}

TEST_F(TopicSubTest, JoiningAnotherPartitionHearsThatOneOnly)
{
    TakingSub sut(m_apartment, "TopicX", false);
    sut.joinRouterPartition("R1");
    RouterSide<MacroXptOutput> first(m_wire, "TopicX", prefix + "R1");
    RouterSide<MacroXptOutput> second(m_wire, "TopicX", prefix + "R2");
    ASSERT_TRUE(first.waitForReaders(1));

    sut.joinRouterPartition("R2");
    ASSERT_TRUE(first.waitForReaders(0));
    ASSERT_TRUE(second.waitForReaders(1));
    first.writer().write(output(1));
    second.writer().write(output(2));

    ASSERT_TRUE(m_apartment->runUntil([&] { return sut.m_count > 0; }));
    ASSERT_EQ(sut.m_samples.size(), 1U);
    EXPECT_EQ(sut.m_samples[0].data().macroXptOutput, 2U);
    EXPECT_EQ(sut.routerPartition(), "R2");
}

TEST_F(TopicSubTest, JoiningTheSamePartitionAgainGetsTheHeldSamplesAgain)
{
    TakingSub sut(m_apartment, "TopicX", false);
    sut.joinRouterPartition("R1");
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");
    router.writer().write(output(1, 10));
    ASSERT_TRUE(m_apartment->runUntil([&] { return sut.m_count == 1; }));

    sut.joinRouterPartition("R1");

    ASSERT_TRUE(m_apartment->runUntil([&] { return sut.m_count == 2; }));
    EXPECT_EQ(sut.m_samples[1].data().macroXptInput, 10U);
    EXPECT_TRUE(router.waitForReaders(1)) << "the earlier reader is gone";
}

TEST_F(TopicSubTest, LeavingMovesToTheBarePrefix)
{
    TakingSub sut(m_apartment, "TopicX", false);
    sut.joinRouterPartition("R1");
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");
    ASSERT_TRUE(router.waitForReaders(1));

    sut.joinRouterPartition("");

    EXPECT_TRUE(router.waitForReaders(0));
    RouterSide<MacroXptOutput> bare(m_wire, "TopicX", prefix);
    EXPECT_TRUE(bare.waitForReaders(1));
}

TEST_F(TopicSubTest, JoinThatFailsThrowsAndLeavesTheWrapperAsItWas)
{
    TakingSub sut(m_apartment, "TopicX", false);
    {
        MacroXptOutputPub durable("TopicX", true);
        durable.joinRouterPartition("R1");

        EXPECT_THROW(sut.joinRouterPartition("R1"), dds::core::InconsistentPolicyError);
        EXPECT_EQ(sut.routerPartition(), "");
        EXPECT_EQ(sut.takeNow(), 0U);
    }

    sut.joinRouterPartition("R1");
    EXPECT_EQ(sut.routerPartition(), "R1");
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");
    EXPECT_TRUE(router.waitForReaders(1));
}

TEST_F(TopicSubTest, EventsOfAWrapperThatIsGoneDoNothingAndGoBackToTheirPool)
{
    const auto inUse = [] {
        const auto snapshot = EventOnDataAvailable::pool().snapshot();
        return snapshot.total - snapshot.available;
    };
    const auto before = inUse();
    {
        TakingSub sut(m_apartment, "TopicX", false);
        sut.joinRouterPartition("R1");
        MacroXptOutputPub local("TopicX", false);
        local.joinRouterPartition("R1");
        local.write(output(1));
    }
    const auto pending = m_apartment->pending();
    ASSERT_GT(pending, 0U);
    ASSERT_GT(inUse(), before);

    EXPECT_EQ(m_apartment->runAll(), pending);

    EXPECT_EQ(inUse(), before);
}

TEST_F(TopicSubTest, MoreThanALookTakesIsLeftForTheNextEvent)
{
    MacroXptOutputPub local("TopicX", false);
    local.joinRouterPartition("R1");
    for (std::uint32_t number = 0; number < mostSamplesAtOnce + 100; ++number)
    {
        local.write(output(number));
    }
    TakingSub sut(m_apartment, "TopicX", false);

    sut.joinRouterPartition("R1"); // all of it is there when the first look comes
    m_apartment->runAll();

    std::erase(sut.m_takes, 0U); // the bus may call once more for what has been taken
    EXPECT_EQ(sut.m_takes, (std::vector<std::size_t>{mostSamplesAtOnce, 100}));
}

TEST_F(TopicSubTest, OutputsBeyondTheGreatestAreSeenAFewTimesOnly)
{
    TakingSub sut(m_apartment, "TopicX", false, 10);
    sut.joinRouterPartition("R1");
    MacroXptOutputPub local("TopicX", false);
    local.joinRouterPartition("R1");

    for (std::uint32_t number = 0; number < 1000; ++number)
    {
        local.write(output(number));
    }
    m_apartment->runAll();

    EXPECT_EQ(sut.m_samples.size(), 11U + Places<MacroXptOutput>().mostOthers);
}

TEST_F(TopicSubTest, LevelsBeyondTheirBoundAreNotTakenAndWarnedOfOnce)
{
    const testsupport::LogRecorder log;
    CountingLevels sut(m_apartment, "TopicX");
    sut.joinRouterPartition("R1");
    TopicPub<MacroLevel> local("TopicX", dds::core::policy::DurabilityKind::TRANSIENT_LOCAL);
    local.joinRouterPartition("R1");
    m_apartment->runAll();

    for (std::uint16_t levelId = 0; levelId < 2 * MacroLevelSub::mostLevels; ++levelId)
    {
        MacroLevel level;
        level.levelId = levelId;
        level.numMacroXptOutputs = 1;
        local.write(level);
        m_apartment->runAll();
    }

    EXPECT_EQ(sut.m_count, MacroLevelSub::mostLevels);
    EXPECT_EQ(log.texts(),
              std::vector<std::string>{"WARN TopicX sample ignored: more instances than there is room for: 256"});
}
