#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzz
{

/// Sizes of the segments in which a stream arrives: the same for the same seed; one segment for all with seed 0.
class Segments
{
public:
    explicit Segments(std::uint8_t seed) : m_seed(seed), m_state(seed) {}

    std::size_t next()
    {
        if (m_seed == 0)
        {
            return SIZE_MAX;
        }
        m_state = m_state * 1103515245U + 12345U;
        return 1 + (m_state >> 16U) % (std::size_t{m_seed} * 4);
    }

private:
    const std::uint8_t m_seed;
    std::uint32_t m_state;
};

} // namespace fuzz
