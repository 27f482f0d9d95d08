#include "koracommand/KoraMessageBuffer.h"

#include <algorithm>
#include <cassert>

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
