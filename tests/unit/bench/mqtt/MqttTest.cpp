#include "bench/mqtt/Mqtt.h"

#include <gtest/gtest.h>

#include <stdexcept>

using mqtt::Bytes;

TEST(MqttPackets, GivenAClientIdConnectsWithACleanSession)
{
    EXPECT_EQ(mqtt::connectPacket("ab"), (Bytes{0x10, 14, 0, 4, 'M', 'Q', 'T', 'T', 4, 2, 0, 0, 0, 2, 'a', 'b'}));
}

TEST(MqttPackets, GivenATopicSubscribesWithQos1)
{
    EXPECT_EQ(mqtt::subscribePacket("t"), (Bytes{0x82, 6, 0, 1, 0, 1, 't', 1}));
}

TEST(MqttPackets, GivenAPacketIdPublishesUnderIt)
{
    Bytes packet = mqtt::publishPacket("t", 2);

    mqtt::setPacketId(packet, 2, 0x1234);

    EXPECT_EQ(packet, (Bytes{0x32, 7, 0, 1, 't', 0x12, 0x34, 0, 0}));
    EXPECT_EQ(mqtt::packetIdOf(packet), 0x1234);
}

TEST(MqttPackets, GivenAPacketIdAcknowledgesIt)
{
    const Bytes packet = mqtt::publishAckPacket(0x1234);

    EXPECT_EQ(packet, (Bytes{0x40, 2, 0x12, 0x34}));
    EXPECT_EQ(mqtt::acknowledgedId(packet), 0x1234);
}

TEST(MqttPackets, GivenAStreamCutsTheFirstWholePacket)
{
    const Bytes stream{0x40, 2, 0, 1, 0x40, 2, 0};

    EXPECT_EQ(mqtt::firstPacket(stream).size(), 4U);
    EXPECT_TRUE(mqtt::firstPacket(std::span(stream).subspan(4)).empty());
    EXPECT_TRUE(mqtt::firstPacket(std::span(stream).first(1)).empty());
}

TEST(MqttPackets, GivenAPacketBeyondThisProgramRefusesIt)
{
    EXPECT_THROW(mqtt::firstPacket(Bytes{0x30, 0x80, 1}), std::runtime_error);
    EXPECT_THROW(mqtt::publishPacket("t", 200), std::runtime_error);
    EXPECT_THROW(mqtt::packetIdOf(Bytes{0x32, 3, 0, 9, 't'}), std::runtime_error);
}
