#pragma once

#include "koraclient/Decoded.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

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

/// 0x and eight digits.
inline std::string hexText(std::uint32_t value)
{
    char text[11];
    (void)std::snprintf(text, sizeof text, "0x%08x", value);
    return text;
}

/// Cuts a byte stream into messages by their length words. Holds at most what was appended and not yet cut. Owned by
/// one thread.
class MessageCutter
{
public:
    /// Bytes as they were received, in any portions.
    void append(std::span<const std::uint8_t> bytes) { m_held.insert(m_held.end(), bytes.begin(), bytes.end()); }

    /// The next whole message; empty while more bytes are needed; a fault when the length word is below 16, above 8192
    /// or no multiple of 4 (the stream then has no further message boundary).
    std::optional<Decoded<Message>> next();

    std::size_t heldBytes() const { return m_held.size(); }

private:
    std::vector<std::uint8_t> m_held;
};

} // namespace koraclient
