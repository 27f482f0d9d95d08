#include "buswrappers/ComponentInfoPub.h"

#include "tests/fakes/FakeApartment.h"
#include "tests/support/LogRecorder.h"
#include "tests/unit/buswrappers/RouterSide.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using com::tallowcrest::dds_::routing::ComponentInfo;
using com::tallowcrest::routing::ComponentInfoPub;
using dds::sub::status::InstanceState;

namespace
{

const std::string topic = "TopicComponentInfoKoraBridge";
const std::string prefix = "com:tallowcrest:routing:";

} // namespace

class ComponentInfoPubTest : public testing::Test
{
protected:
    testsupport::WireDomain m_wire;
    RouterSide<ComponentInfo> m_router{m_wire, topic, prefix};
    std::shared_ptr<FakeApartment> m_apartment = std::make_shared<FakeApartment>();
};

TEST_F(ComponentInfoPubTest, WritesOnTheApartmentOnly)
{
    ComponentInfoPub sut(m_apartment, topic);

    sut.publish(3, 4, "bridge", "the bridge of frame 3");
    EXPECT_EQ(m_apartment->pending(), 1U);
    EXPECT_EQ(m_router.reader().take().length(), 0U);
    m_apartment->runAll();

    const auto samples = m_router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().frameId, 3U);
    EXPECT_EQ(samples[0].data().componentId, 4U);
    EXPECT_EQ(samples[0].data().name, "bridge");
    EXPECT_EQ(samples[0].data().description, "the bridge of frame 3");
}

TEST_F(ComponentInfoPubTest, WriterIsAnnouncedTransientLocalInTheBarePartition)
{
    const ComponentInfoPub sut(m_apartment, "TopicElsewhere");

    const auto announced = m_wire.discoveredWriter("TopicElsewhere");
    ASSERT_TRUE(announced);
    EXPECT_EQ(announced->typeName, "com::tallowcrest::dds_::routing::ComponentInfo");
    EXPECT_EQ(announced->durability(), DDS_DURABILITY_TRANSIENT_LOCAL);
    EXPECT_EQ(announced->reliableFor(), DDS_MSECS(100));
    EXPECT_EQ(announced->partition(), prefix);
}

TEST_F(ComponentInfoPubTest, LateReaderGetsTheAnnouncement)
{
    ComponentInfoPub sut(m_apartment, topic);
    sut.publish(3, 4, "bridge", "");
    m_apartment->runAll();

    RouterSide<ComponentInfo> late(m_wire, topic, prefix);

    EXPECT_EQ(late.takeSamples(1).size(), 1U);
}

TEST_F(ComponentInfoPubTest, WithdrawnAnnouncementLosesItsWriterAndIsNotDisposed)
{
    ComponentInfoPub sut(m_apartment, topic);
    sut.publish(3, 4, "bridge", "text");
    m_apartment->runAll();
    ASSERT_EQ(m_router.takeSamples(1).size(), 1U);

    sut.withdraw(3, 4, "bridge", "text");

    const auto samples = m_router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_FALSE(samples[0].info().valid());
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
    EXPECT_EQ(samples[0].data().frameId, 3U);
    EXPECT_EQ(samples[0].data().componentId, 4U);
}

TEST_F(ComponentInfoPubTest, WithdrawingWhatWasNeverWrittenDoesNothing)
{
    ComponentInfoPub sut(m_apartment, topic);
    sut.publish(3, 5, "another", "");
    m_apartment->runAll();
    ASSERT_EQ(m_router.takeSamples(1).size(), 1U);

    sut.withdraw(3, 4, "bridge", "text");
    sut.withdraw(3, 5, "another", "");

    // The writer lives on, and what it does comes in order.
    const auto samples = m_router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().componentId, 5U);
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
}

TEST_F(ComponentInfoPubTest, PublisherDestroyedAtOnceAfterWithdrawingIsSeenAsWithoutWriterToo)
{
    {
        ComponentInfoPub sut(m_apartment, topic);
        sut.publish(3, 4, "bridge", "text");
        m_apartment->runAll();
        ASSERT_EQ(m_router.takeSamples(1).size(), 1U);
        sut.withdraw(3, 4, "bridge", "text");
    }

    const auto samples = m_router.takeSamples(1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
}

TEST_F(ComponentInfoPubTest, LongTextsAreCutForTheBusWithOneWarningEach)
{
    const testsupport::LogRecorder log;
    ComponentInfoPub sut(m_apartment, topic);

    sut.publish(3, 4, std::string(33, 'n'), std::string(129, 'd'));
    m_apartment->runAll();
    const auto samples = m_router.takeSamples(1);
    sut.withdraw(3, 4, std::string(33, 'n'), std::string(129, 'd'));

    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().name, std::string(32, 'n'));
    EXPECT_EQ(samples[0].data().description, std::string(128, 'd'));
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].level, "WARN");
    EXPECT_EQ(lines[0].text, "component name is longer than 32 bytes, truncated to '" + std::string(32, 'n') + "'");
    EXPECT_EQ(lines[1].level, "WARN");
    EXPECT_EQ(lines[1].text,
              "component description is longer than 128 bytes, truncated to '" + std::string(128, 'd') + "'");
}

TEST_F(ComponentInfoPubTest, TextsOfExactlyTheirBoundsPassWithoutAWarning)
{
    const testsupport::LogRecorder log;
    ComponentInfoPub sut(m_apartment, topic);

    sut.publish(3, 4, std::string(32, 'n'), std::string(128, 'd'));
    m_apartment->runAll();

    EXPECT_EQ(m_router.takeSamples(1).size(), 1U);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ComponentInfoPubTest, TwoBridgesOfTheSameIdsShareOneInstance)
{
    ComponentInfoPub sut(m_apartment, topic);
    ComponentInfoPub other(m_apartment, topic);
    sut.publish(3, 4, "one", "");
    m_apartment->runAll();
    const auto first = m_router.takeSamples(1);
    other.publish(3, 4, "two", "");
    m_apartment->runAll();
    const auto second = m_router.takeSamples(1);

    ASSERT_EQ(first.size(), 1U);
    ASSERT_EQ(second.size(), 1U);
    EXPECT_EQ(first[0].info().instance_handle(), second[0].info().instance_handle());
    EXPECT_EQ(second[0].data().name, "two");
}

TEST_F(ComponentInfoPubTest, EventOfAPublisherThatIsGoneDoesNothing)
{
    {
        ComponentInfoPub sut(m_apartment, topic);
        sut.publish(3, 4, "bridge", "");
    }

    ASSERT_EQ(m_apartment->pending(), 1U);
    m_apartment->runAll();

    EXPECT_EQ(m_apartment->pending(), 0U);
    EXPECT_EQ(m_router.reader().take().length(), 0U);
}
