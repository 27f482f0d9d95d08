#include "koraserver/MessageCutter.h"

#include "koracommand/WireWords.h"

#include <algorithm>
#include <cassert>

namespace
{

constexpr std::size_t lengthWordEnd = wireLayout::header::length + sizeof(std::uint32_t);

} // namespace

std::span<std::uint8_t> MessageCutter::freeSpace()
{
    if (m_begin > 0)
    {
        std::copy(m_buffer.data() + m_begin, m_buffer.data() + m_end, m_buffer.data());
        m_end -= m_begin;
        m_begin = 0;
    }
    return std::span(m_buffer).subspan(m_end);
}

void MessageCutter::stored(std::size_t count)
{
    assert(count <= capacity - m_end);
    m_end += std::min(count, capacity - m_end);
    m_isBehindMessage = false;
}

std::optional<std::span<const std::uint8_t>> MessageCutter::next()
{
    const auto held = std::span<const std::uint8_t>(m_buffer).subspan(m_begin, heldBytes());
    if (held.size() < (m_isBehindMessage ? lengthWordEnd : wireLayout::header::bytes))
    {
        return std::nullopt;
    }
    const std::uint32_t length = WireReader(held).bigEndianWordAt(wireLayout::header::length);
    if (length < wireLayout::header::bytes || length > wireLayout::maxMessageBytes)
    {
        m_begin = 0;
        m_end = 0;
        return std::nullopt;
    }
    if (held.size() < length)
    {
        return std::nullopt;
    }
    m_begin += length;
    m_isBehindMessage = true;
    return held.first(length);
}
