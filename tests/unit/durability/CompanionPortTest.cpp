#include "durability/CompanionPort.h"

#include "tests/support/PacketCount.h"
#include "tests/support/WaitUntil.h"
#include "tests/support/WireDomain.h"
#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>

#include <set>

using namespace com::tallowcrest::durability;

namespace
{

/// The companions of one channel on two machines, so to speak.
class CompanionPortTest : public testing::Test
{
protected:
    CompanionPortTest()
    {
        EXPECT_TRUE(testsupport::waitUntil([this] { return m_sut.peers().size() == 1 && m_peer.peers().size() == 1; }));
    }

    const ChannelName m_channel{"TopicUnderTest", "R1"};
    com::tallowcrest::util::WakeEvent m_wake;
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    testsupport::WireDomain m_wire;
    CompanionPort m_sut{m_participant.delegate()->handle(), m_channel, outputCodec(), 0, m_wake};
    CompanionPort m_peer{m_wire.participant().delegate()->handle(), m_channel, outputCodec(), 0, m_wake};
};

} // namespace

TEST_F(CompanionPortTest, WhatIsWrittenBetweenTwoFlushesNeedsFewerPacketsThanItHasSamples)
{
    constexpr std::uint32_t count = 1000; // far more than packets of other threads in that time
    std::set<std::uint32_t> received;
    const long before = testsupport::packetsSent();
    ASSERT_GE(before, 0);

    for (std::uint32_t number = 0; number < count; ++number)
    {
        const BusOutput sample = busOutput(number, 1);
        ASSERT_EQ(m_sut.write(&sample, SourceTime{1} + number), DDS_RETCODE_OK);
    }
    m_sut.flush();

    const long sent = testsupport::packetsSent() - before;
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, count / 2);
    EXPECT_TRUE(testsupport::waitUntil([&] {
        m_peer.take([&](const void* sample, SourceTime, dds_instance_handle_t, dds_instance_handle_t) {
            received.insert(static_cast<const BusOutput*>(sample)->macroXptOutput);
        });
        return received.size() == count;
    }));
}
