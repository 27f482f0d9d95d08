#include "buswrappers/TopicPub.h"

#include "buswrappers/TypedTopics.h"
#include "tests/unit/buswrappers/RouterSide.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

using com::tallowcrest::dds_::routing::MacroXptOutput;
using com::tallowcrest::routing::MacroXptOutputPub;
using dds::core::policy::Durability;
using dds::sub::status::InstanceState;

namespace
{

const std::string prefix = "com:tallowcrest:routing:";

MacroXptOutput output(std::uint32_t number, std::uint32_t input = 0)
{
    MacroXptOutput result;
    result.macroXptOutput = number;
    result.macroXptInput = input;
    return result;
}

} // namespace

class TopicPubTest : public testing::Test
{
protected:
    testsupport::WireDomain m_wire;
};

TEST_F(TopicPubTest, DoesNothingBeforeTheFirstJoin)
{
    RouterSide<MacroXptOutput> bare(m_wire, "TopicX", prefix, Durability::Persistent());
    MacroXptOutputPub sut("TopicX", true);

    sut.write(output(1));
    sut.unregisterInstance(output(1));
    sut.dispose(output(1));

    EXPECT_EQ(sut.topicName(), "TopicX");
    EXPECT_EQ(sut.routerPartition(), "");
    sut.joinRouterPartition("");
    ASSERT_TRUE(bare.waitForWriters(1));
    sut.write(output(2));
    const auto samples = bare.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptOutput, 2U) << "nothing of what came before the join";
}

TEST_F(TopicPubTest, DurableWriterIsAnnouncedWithTheQosOfTheBus)
{
    MacroXptOutputPub sut("TopicX", true);
    sut.joinRouterPartition("R1");

    const auto announced = m_wire.discoveredWriter("TopicX");
    ASSERT_TRUE(announced);
    EXPECT_EQ(announced->typeName, "com::tallowcrest::dds_::routing::MacroXptOutput");
    EXPECT_EQ(announced->durability(), DDS_DURABILITY_PERSISTENT);
    EXPECT_EQ(announced->reliableFor(), DDS_MSECS(100));
    EXPECT_EQ(announced->partition(), prefix + "R1");
}

TEST_F(TopicPubTest, WriterThatIsNotDurableIsAnnouncedTransientLocal)
{
    MacroXptOutputPub sut("TopicX", false);
    sut.joinRouterPartition("0123456789abcdef");

    const auto announced = m_wire.discoveredWriter("TopicX");
    ASSERT_TRUE(announced);
    EXPECT_EQ(announced->durability(), DDS_DURABILITY_TRANSIENT_LOCAL);
    EXPECT_EQ(announced->partition(), prefix + "0123456789abcdef");
}

TEST_F(TopicPubTest, WritesIntoTheJoinedPartition)
{
    MacroXptOutputPub sut("TopicX", false);
    sut.joinRouterPartition("R1");
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");

    sut.write(output(1, 10));

    const auto samples = router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptInput, 10U);
}

TEST_F(TopicPubTest, DurableWriterReachesADurableReader)
{
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1", Durability::Persistent());
    MacroXptOutputPub sut("TopicX", true);
    sut.joinRouterPartition("R1");
    ASSERT_TRUE(router.waitForWriters(1));

    sut.write(output(1, 10));

    EXPECT_EQ(router.takeSamples(1).size(), 1U);
}

TEST_F(TopicPubTest, UnregisteredInstanceIsNotDisposed)
{
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");
    MacroXptOutputPub sut("TopicX", false);
    sut.joinRouterPartition("R1");
    sut.write(output(1, 10));
    ASSERT_EQ(router.takeSamples(1).size(), 1U);

    sut.unregisterInstance(output(1));

    const auto samples = router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_FALSE(samples[0].info().valid());
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
    EXPECT_EQ(samples[0].data().macroXptOutput, 1U);
}

TEST_F(TopicPubTest, UnregisteringAnInstanceThatWasNeverWrittenDoesNothing)
{
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");
    MacroXptOutputPub sut("TopicX", false);
    sut.joinRouterPartition("R1");
    sut.write(output(1));
    ASSERT_EQ(router.takeSamples(1).size(), 1U);

    sut.unregisterInstance(output(4711));
    sut.unregisterInstance(output(1));

    // What is written in order comes in order: the second has come, and the first is not before it.
    const auto samples = router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptOutput, 1U);
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
}

TEST_F(TopicPubTest, DisposedInstanceArrivesAsDisposed)
{
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");
    MacroXptOutputPub sut("TopicX", false);
    sut.joinRouterPartition("R1");
    sut.write(output(1, 10));
    ASSERT_EQ(router.takeSamples(1).size(), 1U);

    sut.dispose(output(1));

    const auto samples = router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveDisposed);
}

TEST_F(TopicPubTest, JoiningAnotherPartitionLeavesTheFirstWithoutDisposing)
{
    RouterSide<MacroXptOutput> first(m_wire, "TopicX", prefix + "R1");
    RouterSide<MacroXptOutput> second(m_wire, "TopicX", prefix + "R2");
    MacroXptOutputPub sut("TopicX", false);
    sut.joinRouterPartition("R1");
    sut.write(output(1, 10));
    ASSERT_EQ(first.takeSamples(1).size(), 1U);

    sut.joinRouterPartition("R2");
    sut.write(output(1, 11));

    const auto left = first.takeSamples(1);
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
    const auto joined = second.takeSamples(1);
    ASSERT_EQ(joined.size(), 1U);
    EXPECT_EQ(joined[0].data().macroXptInput, 11U);
}

TEST_F(TopicPubTest, JoiningTheSamePartitionAgainReplacesTheWriter)
{
    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");
    MacroXptOutputPub sut("TopicX", false);
    sut.joinRouterPartition("R1");
    sut.write(output(1, 10));
    ASSERT_EQ(router.takeSamples(1).size(), 1U);

    sut.joinRouterPartition("R1");
    const auto gone = router.takeSamples(1);
    sut.write(output(1, 12));

    ASSERT_EQ(gone.size(), 1U);
    EXPECT_EQ(gone[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
    const auto samples = router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptInput, 12U);
    EXPECT_TRUE(router.waitForWriters(1));
}

TEST_F(TopicPubTest, JoinThatFailsThrowsAndLeavesTheWrapperAsItWas)
{
    MacroXptOutputPub durable("TopicX", true);
    durable.joinRouterPartition("R1");
    MacroXptOutputPub sut("TopicX", false);

    RouterSide<MacroXptOutput> router(m_wire, "TopicX", prefix + "R1");

    EXPECT_THROW(sut.joinRouterPartition("R1"), dds::core::InconsistentPolicyError);

    EXPECT_EQ(sut.routerPartition(), "");
    sut.write(output(1));
    ASSERT_TRUE(router.waitForWriters(1)) << "the durable one";
    durable.write(output(2));
    const auto samples = router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptOutput, 2U);
}
