#pragma once

#include "koracommand/WireLayout.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// Cuts a controller's byte stream into whole messages. No I/O. Owned and used by one connection's thread.
///
/// A message is cut once all its bytes are held, wherever the stream was split on its way. A length outside 16 to 8192
/// discards everything held, and cutting begins anew with the next byte received: the sender of such a header finds the
/// stream in step again only after a pause. The length is judged once the 16 bytes of the header are held, and what
/// stands behind a message of the same receive as soon as the length word is there, with 12. Bytes that were not
/// received are never looked at.
class MessageCutter
{
public:
    static constexpr std::size_t capacity = wireLayout::maxMessageBytes;

    /// Where the next bytes go: the capacity less what is held. Never empty once `next` came back empty. Ends the life
    /// of the span that `next` gave out.
    std::span<std::uint8_t> freeSpace();

    /// Tells that one receive stored `count` bytes (at most the free space) at the start of the free space.
    void stored(std::size_t count);

    /// The next whole message, 16 to 8192 bytes, or empty when more bytes are needed.
    std::optional<std::span<const std::uint8_t>> next();

    /// Bytes received that belong to no message yet.
    std::size_t heldBytes() const { return m_end - m_begin; }

private:
    std::array<std::uint8_t, capacity> m_buffer{};
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    bool m_isBehindMessage = false; ///< one that the latest receive completed
};
