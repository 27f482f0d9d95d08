#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"

namespace koraclient
{

/// The bytes of one received message, in network order. Words beyond its end read as 0. Plain value.
class Message
{
public:
    Message() = default;
    explicit Message(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {}

    std::span<const std::uint8_t> bytes() const { return m_bytes; }
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_bytes.size()); }
    /// The word at a byte offset from the start of the message.
    std::uint32_t word(std::size_t offset) const { return WireReader(m_bytes).bigEndianWordAt(offset); }
    /// All whole words.
    std::vector<std::uint32_t> words() const
    {
        std::vector<std::uint32_t> result;
        result.reserve(m_bytes.size() / wireLayout::wordBytes);
        for (std::size_t at = 0; at + wireLayout::wordBytes <= m_bytes.size(); at += wireLayout::wordBytes)
        {
            result.push_back(word(at));
        }
        return result;
    }

    std::uint32_t protocolType() const { return word(wireLayout::header::protocolType); }
    std::uint32_t sequence() const { return word(wireLayout::header::sequence); }
    std::uint32_t length() const { return word(wireLayout::header::length); }
    std::uint32_t id() const { return word(wireLayout::header::msgId); }
    /// The request's tag, echoed.
    std::uint32_t tag() const { return word(wireLayout::rsp::tag); }

private:
    std::vector<std::uint8_t> m_bytes;
};

} // namespace koraclient
