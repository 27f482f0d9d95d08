#pragma once

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

/// A word with its bytes in reverse order.
constexpr std::uint32_t byteSwapped(std::uint32_t word)
{
    return (word >> 24U) | ((word >> 8U) & 0x0000ff00U) | ((word << 8U) & 0x00ff0000U) | (word << 24U);
}

/// A host-order word as it lies in memory when written in big-endian (network) order, and back.
constexpr std::uint32_t hostToBigEndian(std::uint32_t word)
{
    return std::endian::native == std::endian::little ? byteSwapped(word) : word;
}

/// The same for two words that lie one after the other.
constexpr std::uint64_t hostToBigEndianPair(std::uint64_t pair)
{
    // All eight bytes turned round are each word's bytes turned round, and the words themselves, which go back.
    return std::endian::native == std::endian::little ? std::rotl(__builtin_bswap64(pair), 32) : pair;
}

/// Reads 32-bit words at byte offsets of a message, which need not be aligned in memory. A word that the message does
/// not wholly hold reads as 0. A view: the bytes belong to somebody else. A plain value.
class WireReader
{
public:
    WireReader() = default;
    explicit WireReader(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    std::size_t size() const { return m_bytes.size(); }

    /// Whether the message wholly holds a word at `offset`.
    bool holdsWordAt(std::size_t offset) const
    {
        return m_bytes.size() >= sizeof(std::uint32_t) && offset <= m_bytes.size() - sizeof(std::uint32_t);
    }

    std::uint32_t hostWordAt(std::size_t offset) const
    {
        std::uint32_t word = 0;
        if (holdsWordAt(offset))
        {
            std::memcpy(&word, m_bytes.data() + offset, sizeof(word));
        }
        return word;
    }

    std::uint32_t bigEndianWordAt(std::size_t offset) const { return hostToBigEndian(hostWordAt(offset)); }

private:
    std::span<const std::uint8_t> m_bytes;
};

/// Writes 32-bit words at byte offsets of a message; the mirror image of `WireReader`. A word that does not fit is a
/// bug of the caller: asserted, and never written. A view: the bytes belong to somebody else. A plain value.
class WireWriter
{
public:
    explicit WireWriter(std::span<std::uint8_t> bytes) : m_bytes(bytes) {}

    void setHostWordAt(std::size_t offset, std::uint32_t word) const { setHostWordsAt(offset, {&word, 1}); }

    /// All of them or, when they do not fit, none.
    void setHostWordsAt(std::size_t offset, std::span<const std::uint32_t> words) const
    {
        const bool fits = offset <= m_bytes.size() && words.size_bytes() <= m_bytes.size() - offset;
        assert(fits);
        if (fits && !words.empty()) // none may lie nowhere
        {
            std::memcpy(m_bytes.data() + offset, words.data(), words.size_bytes());
        }
    }

    void setBigEndianWordAt(std::size_t offset, std::uint32_t word) const
    {
        setHostWordAt(offset, hostToBigEndian(word));
    }

private:
    std::span<std::uint8_t> m_bytes;
};
