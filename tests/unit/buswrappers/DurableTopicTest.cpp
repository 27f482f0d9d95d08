#include "buswrappers/DurableTopic.h"

#include "bustypes/RoutingTypes.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/buswrappers/RouterSide.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

using com::tallowcrest::dds_::routing::MacroXptOutput;
using com::tallowcrest::routing::DurableTopic;
using dds::core::policy::Durability;

namespace
{

const std::string partition = "com:tallowcrest:routing:R1";

/// The topic as the bridge has it, and another party that writes and reads it.
class DurableTopicTest : public testing::Test
{
protected:
    static dds::topic::Topic<MacroXptOutput> topic()
    {
        dds::topic::qos::TopicQos qos;
        qos << Durability::Persistent() << dds::core::policy::Reliability::Reliable();
        return {dds::domain::DomainParticipant(dds::domain::default_id()), "TopicX", qos};
    }
    dds::pub::DataWriter<MacroXptOutput> makeWriter() const
    {
        dds::pub::qos::PublisherQos qos;
        qos << dds::core::policy::Partition(partition);
        return {dds::pub::Publisher(m_topic.participant(), qos), m_topic, m_topic.qos()};
    }
    dds::sub::DataReader<MacroXptOutput> makeReader() const
    {
        dds::sub::qos::SubscriberQos qos;
        qos << dds::core::policy::Partition(partition);
        return {dds::sub::Subscriber(m_topic.participant(), qos), m_topic, m_topic.qos()};
    }
    std::vector<std::uint32_t> taken()
    {
        std::vector<std::uint32_t> outputs;
        m_sut.takeSeen([&](com::tallowcrest::durability::Instance instance,
                           const com::tallowcrest::durability::Decision&) { outputs.push_back(instance); });
        return outputs;
    }

    testsupport::WireDomain m_wire;
    RouterSide<MacroXptOutput> m_others{m_wire, "TopicX", partition, Durability::Persistent()};
    const dds::topic::Topic<MacroXptOutput> m_topic = topic();
    std::atomic<int> m_wakes{0};
    DurableTopic<MacroXptOutput> m_sut{makeWriter(), makeReader(), dds::core::null, [this] { ++m_wakes; }};
};

TEST_F(DurableTopicTest, WhatOthersWriteWakesAndCanBeTakenOnce)
{
    ASSERT_TRUE(m_others.waitForReaders(1));

    m_others.writer().write({.macroXptOutput = 7, .macroXptInput = 5});

    ASSERT_TRUE(testsupport::waitUntil([this] { return m_wakes > 0; }));
    EXPECT_EQ(taken(), std::vector<std::uint32_t>{7});
    EXPECT_EQ(taken(), std::vector<std::uint32_t>{});
}

TEST_F(DurableTopicTest, MoreThanALookTakesIsLeftForTheNextAndWakesAgain)
{
    using com::tallowcrest::routing::mostSamplesAtOnce;
    dds::pub::DataWriter<MacroXptOutput> local = makeWriter();
    for (std::uint32_t output = 0; output < mostSamplesAtOnce + 100; ++output)
    {
        local.write({.macroXptOutput = output});
    }
    m_wakes = 0;

    EXPECT_EQ(taken().size(), mostSamplesAtOnce);
    EXPECT_EQ(m_wakes, 1);
    EXPECT_EQ(taken().size(), 100U);
    EXPECT_EQ(m_wakes, 1);
}

TEST_F(DurableTopicTest, WhatOthersHaveWrittenCanBeTakenAfterItHasBeenClosed)
{
    ASSERT_TRUE(m_others.waitForReaders(1));
    m_others.writer().write({.macroXptOutput = 7, .macroXptInput = 5});
    ASSERT_TRUE(testsupport::waitUntil([this] { return m_wakes > 0; }));

    m_sut.close();

    EXPECT_EQ(taken(), std::vector<std::uint32_t>{7});
    EXPECT_TRUE(m_sut.haveReadersAnswered());
    EXPECT_FALSE(m_sut.hasNewReader());
}

TEST_F(DurableTopicTest, ReaderThatCameBeforeIsNotNewAndOneThatComesLaterIsOnce)
{
    ASSERT_TRUE(testsupport::waitUntil([this] { return m_others.waitForWriters(1); }));
    while (m_sut.hasNewReader()) // it may have been discovered after the writer was made
    {}
    EXPECT_FALSE(m_sut.hasNewReader());

    const RouterSide<MacroXptOutput> later(m_wire, "TopicX", partition, Durability::Persistent());

    EXPECT_TRUE(testsupport::waitUntil([this] { return m_sut.hasNewReader(); }));
    EXPECT_FALSE(m_sut.hasNewReader());
}

TEST_F(DurableTopicTest, TellsHowManyReadersAreNoBridgesUntilItIsClosed)
{
    std::vector<std::size_t> told;
    DurableTopic<MacroXptOutput> sut(
        makeWriter(), dds::core::null, dds::core::null, [] {}, [&told](std::size_t number) { told.push_back(number); });
    const auto waitForTold = [&](std::size_t number) {
        return testsupport::waitUntil([&] {
            sut.hasNewReader();
            return !told.empty() && told.back() == number;
        });
    };
    constexpr std::size_t router = 1;
    constexpr std::size_t own = 1; // that of the fixture's, which has no mark
    EXPECT_TRUE(waitForTold(router + own));

    {
        const RouterSide<MacroXptOutput> later(m_wire, "TopicX", partition, Durability::Persistent());
        EXPECT_TRUE(waitForTold(router + own + 1));
    }
    EXPECT_TRUE(waitForTold(router + own));

    // Another bridge has a reader with the mark beside others; of what it has nothing counts.
    dds::sub::qos::SubscriberQos inPartition;
    inPartition << dds::core::policy::Partition(partition);
    dds::sub::qos::DataReaderQos marked(m_topic.qos());
    marked << dds::core::policy::UserData(com::tallowcrest::routing::historyReaderMark);
    const dds::sub::DataReader<MacroXptOutput> bridges(dds::sub::Subscriber(m_topic.participant(), inPartition),
                                                       m_topic, marked);
    EXPECT_TRUE(waitForTold(router));

    sut.close();
    told.clear();
    const RouterSide<MacroXptOutput> unheard(m_wire, "TopicX", partition, Durability::Persistent());
    EXPECT_FALSE(sut.hasNewReader());
    EXPECT_TRUE(told.empty());
}

} // namespace
