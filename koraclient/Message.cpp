#include "koraclient/Message.h"

namespace koraclient
{

std::optional<Decoded<Message>> MessageCutter::next()
{
    if (m_held.size() < wireLayout::header::bytes)
    {
        return std::nullopt;
    }
    const std::uint32_t length = WireReader(m_held).bigEndianWordAt(wireLayout::header::length);
    if (length < wireLayout::header::bytes || length > wireLayout::maxMessageBytes ||
        length % wireLayout::wordBytes != 0)
    {
        return Fault{.text = "a message with the impossible length " + std::to_string(length) + " came"};
    }
    if (m_held.size() < length)
    {
        return std::nullopt;
    }
    const auto end = m_held.begin() + static_cast<std::ptrdiff_t>(length);
    Message message(std::vector<std::uint8_t>(m_held.begin(), end));
    m_held.erase(m_held.begin(), end);
    return message;
}

} // namespace koraclient
