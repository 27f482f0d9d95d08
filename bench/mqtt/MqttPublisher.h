#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "bench/korabench/Client.h"
#include "bench/mqtt/MqttPackets.h"

namespace mqtt
{

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
