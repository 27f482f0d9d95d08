#pragma once

#include "bench/korabench/Client.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The few MQTT 3.1.1 packets that a publisher and a subscriber with QoS 1 need; none over 127 bytes of remaining
/// length.
namespace mqtt
{

inline constexpr std::uint8_t connectAck = 0x20;
inline constexpr std::uint8_t publish = 0x30;
inline constexpr std::uint8_t publishQos1 = 0x32;
inline constexpr std::uint8_t publishAck = 0x40;
inline constexpr std::uint8_t subscribeAck = 0x90;
/// The type without its flags.
inline constexpr std::uint8_t typeMask = 0xf0;
/// CONNACK and PUBACK.
inline constexpr std::size_t ackBytes = 4;

using Bytes = std::vector<std::uint8_t>;

Bytes connectPacket(const std::string& clientId);
Bytes subscribePacket(const std::string& topic);
/// QoS 1; the packet id stands right before the payload.
Bytes publishPacket(const std::string& topic, std::size_t payloadBytes);
void setPacketId(Bytes& publishPacket, std::size_t payloadBytes, std::uint16_t id);
Bytes publishAckPacket(std::uint16_t id);

/// The first whole packet of the bytes, or an empty span. Throws std::runtime_error when it is too long for this
/// program.
std::span<const std::uint8_t> firstPacket(std::span<const std::uint8_t> bytes);
/// The packet id of a PUBLISH with QoS 1.
std::uint16_t packetIdOf(std::span<const std::uint8_t> publishPacket);
/// The packet id of a PUBACK.
std::uint16_t acknowledgedId(std::span<const std::uint8_t> publishAckPacket);

/// Publishes one message with QoS 1 after another to an MQTT broker; the broker's acknowledgement is the response.
class MqttPublisher final : public korabench::Client
{
public:
    /// Connects. Throws NotConnected.
    MqttPublisher(const korabench::Endpoint& endpoint, const std::string& clientId, const std::string& topic,
                  std::size_t payloadBytes);

    void send() override;
    bool receive() override;
    korabench::Command lastCommand() const override { return korabench::Command::Publish; }
    std::uint32_t lastEntries() const override { return 1; }

private:
    const std::size_t m_payloadBytes;
    Bytes m_packet;
    std::uint16_t m_id = 0;
    std::size_t m_held = 0;
    std::array<std::uint8_t, ackBytes> m_buffer{};
};

} // namespace mqtt
