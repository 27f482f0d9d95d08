#include "bench/mqtt/MqttPublisher.h"

#include <span>

namespace mqtt
{

MqttPublisher::MqttPublisher(const korabench::Endpoint& endpoint, const std::string& clientId, const std::string& topic,
                             std::size_t payloadBytes)
    : Client(endpoint), m_payloadBytes(payloadBytes), m_packet(publishPacket(topic, payloadBytes))
{
    sendAll(connectPacket(clientId));
    std::array<std::uint8_t, ackBytes> answer{};
    std::size_t held = 0;
    while (held < answer.size())
    {
        held += receiveSome(std::span(answer).subspan(held));
    }
    if (answer != std::array<std::uint8_t, ackBytes>{connectAck, 2, 0, 0})
    {
        fail("the broker refused the connection");
    }
    finish();
}

void MqttPublisher::send()
{
    m_id = m_id == UINT16_MAX ? std::uint16_t{1} : static_cast<std::uint16_t>(m_id + 1U);
    setPacketId(m_packet, m_payloadBytes, m_id);
    m_held = 0;
    sendAll(m_packet);
}

bool MqttPublisher::receive()
{
    m_held += receiveSome(std::span(m_buffer).subspan(m_held));
    if (m_held < m_buffer.size())
    {
        return false;
    }
    if (m_buffer[0] != publishAck || acknowledgedId(m_buffer) != m_id)
    {
        fail("something else than the acknowledgement of message " + std::to_string(m_id) + " came");
    }
    finish();
    return true;
}

} // namespace mqtt
