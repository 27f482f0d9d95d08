#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "koraclient/Decoded.h"
#include "koraclient/Message.h"

namespace koraclient
{

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
