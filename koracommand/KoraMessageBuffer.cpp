#include "koracommand/KoraMessageBuffer.h"

#include <algorithm>
#include <cassert>
#include <cstring>

void KoraMessageBuffer::resize(std::size_t bytes)
{
    assert(bytes <= capacity);
    const std::size_t newSize = std::min(bytes, capacity);
    if (newSize > m_size)
    {
        std::fill_n(m_bytes.data() + m_size, newSize - m_size, std::uint8_t{0});
    }
    m_size = newSize;
}

std::span<std::uint8_t> KoraMessageBuffer::grow(std::size_t bytes)
{
    assert(m_size == 0 && bytes <= capacity);
    m_size = std::min(bytes, capacity);
    return {m_bytes.data(), m_size};
}

std::unique_ptr<KoraMessageBuffer> convertedCopy(std::span<const std::uint8_t> message)
{
    const std::size_t words = std::min(message.size(), KoraMessageBuffer::capacity) / wireLayout::wordBytes;
    const std::size_t bytes = words * wireLayout::wordBytes;

    auto copy = std::make_unique<KoraMessageBuffer>();
    const std::span<std::uint8_t> destination = copy->grow(bytes);
    // Both sides hold all these bytes, so no word needs to be checked on its own. Two at a time: the loop around a word
    // costs as much as the word.
    std::size_t offset = 0;
    for (std::uint64_t pair = 0; offset + sizeof(pair) <= bytes; offset += sizeof(pair))
    {
        std::memcpy(&pair, message.data() + offset, sizeof(pair));
        pair = hostToBigEndianPair(pair);
        std::memcpy(destination.data() + offset, &pair, sizeof(pair));
    }
    if (offset < bytes)
    {
        std::uint32_t word = 0;
        std::memcpy(&word, message.data() + offset, sizeof(word));
        word = hostToBigEndian(word);
        std::memcpy(destination.data() + offset, &word, sizeof(word));
    }
    return copy;
}
