#pragma once

#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "runtime/util/Pooled.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

/// Gives message buffers a virtual destructor.
class MessageHolder
{
public:
    MessageHolder() = default;
    virtual ~MessageHolder() = default;
    MessageHolder(const MessageHolder&) = delete;
    MessageHolder& operator=(const MessageHolder&) = delete;
};

/// The bytes of one message, up to the largest; comes from a memory pool. Starts empty and shows only what was written
/// or grown into it, so that nothing of the message that used the storage before ever appears. Owned by one holder.
class KoraMessageBuffer final : public com::tallowcrest::util::Pooled<KoraMessageBuffer, MessageHolder>
{
public:
    static constexpr const char* poolName = "KoraMessageBuffer";
    static constexpr std::size_t capacity = wireLayout::maxMessageBytes;

    // The bytes are left alone on purpose: clearing 8192 of them costs more than most commands.
    KoraMessageBuffer() {} // NOLINT(cppcoreguidelines-pro-type-member-init)

    /// The message's first byte; `size()` bytes may be looked at.
    const std::uint8_t* getData() const { return m_bytes.data(); }
    std::size_t size() const { return m_size; }

    /// Cuts the message, or lengthens it with zero bytes. At most `capacity` bytes; more is a bug of the caller and
    /// gives `capacity`.
    void resize(std::size_t bytes);
    /// Lengthens the empty message to `bytes`, at most `capacity`, all of which the caller writes at once.
    std::span<std::uint8_t> grow(std::size_t bytes);

    WireReader reader() const { return WireReader({m_bytes.data(), m_size}); }
    WireWriter writer() { return WireWriter({m_bytes.data(), m_size}); }

private:
    std::size_t m_size = 0;
    alignas(std::uint32_t) std::array<std::uint8_t, capacity> m_bytes;
};

/// A copy of a message with every word's bytes reversed: host order to network order and back. Whole words only, at
/// most the largest message. Throws std::bad_alloc when there is no memory for the buffer.
std::unique_ptr<KoraMessageBuffer> convertedCopy(std::span<const std::uint8_t> message);
