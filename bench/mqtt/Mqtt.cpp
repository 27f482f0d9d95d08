#include "bench/mqtt/Mqtt.h"

#include <span>
#include <stdexcept>

namespace mqtt
{

namespace
{

constexpr std::size_t fixedHeaderBytes = 2;
constexpr std::uint8_t mostRemaining = 127;

void addWord(Bytes& bytes, std::size_t value)
{
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

void addText(Bytes& bytes, const std::string& text)
{
    addWord(bytes, text.size());
    bytes.insert(bytes.end(), text.begin(), text.end());
}

std::uint16_t wordAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    if (offset + 1 >= bytes.size())
    {
        throw std::runtime_error("the broker sent a packet that is too short");
    }
    return static_cast<std::uint16_t>((bytes[offset] << 8U) | bytes[offset + 1]);
}

Bytes packet(std::uint8_t type, const Bytes& rest)
{
    if (rest.size() > mostRemaining)
    {
        throw std::runtime_error("an MQTT packet of this program has at most 127 bytes");
    }
    Bytes bytes;
    bytes.reserve(fixedHeaderBytes + rest.size());
    bytes.push_back(type);
    bytes.push_back(static_cast<std::uint8_t>(rest.size()));
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

} // namespace

Bytes connectPacket(const std::string& clientId)
{
    constexpr std::uint8_t level = 4; // 3.1.1
    constexpr std::uint8_t cleanSession = 2;
    Bytes rest;
    addText(rest, "MQTT");
    rest.push_back(level);
    rest.push_back(cleanSession);
    addWord(rest, 0); // no keep-alive
    addText(rest, clientId);
    constexpr std::uint8_t connect = 0x10;
    return packet(connect, rest);
}

Bytes subscribePacket(const std::string& topic)
{
    Bytes rest;
    addWord(rest, 1); // packet id
    addText(rest, topic);
    rest.push_back(1); // QoS
    constexpr std::uint8_t subscribe = 0x82;
    return packet(subscribe, rest);
}

Bytes publishPacket(const std::string& topic, std::size_t payloadBytes)
{
    Bytes rest;
    addText(rest, topic);
    addWord(rest, 0);
    rest.resize(rest.size() + payloadBytes);
    return packet(publishQos1, rest);
}

void setPacketId(Bytes& publishPacket, std::size_t payloadBytes, std::uint16_t id)
{
    const std::size_t at = publishPacket.size() - payloadBytes - sizeof id;
    publishPacket[at] = static_cast<std::uint8_t>(id >> 8U);
    publishPacket[at + 1] = static_cast<std::uint8_t>(id);
}

Bytes publishAckPacket(std::uint16_t id)
{
    Bytes rest;
    addWord(rest, id);
    return packet(publishAck, rest);
}

std::span<const std::uint8_t> firstPacket(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < fixedHeaderBytes)
    {
        return {};
    }
    if (bytes[1] > mostRemaining)
    {
        throw std::runtime_error("the broker sent a packet that is too long");
    }
    const std::size_t length = fixedHeaderBytes + bytes[1];
    return bytes.size() < length ? std::span<const std::uint8_t>() : bytes.first(length);
}

std::uint16_t packetIdOf(std::span<const std::uint8_t> publishPacket)
{
    return wordAt(publishPacket, fixedHeaderBytes + 2U + wordAt(publishPacket, fixedHeaderBytes));
}

std::uint16_t acknowledgedId(std::span<const std::uint8_t> publishAckPacket)
{
    return wordAt(publishAckPacket, fixedHeaderBytes);
}

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
