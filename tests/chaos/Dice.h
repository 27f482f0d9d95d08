#pragma once

#include <chrono>
#include <cstdint>
#include <random>

namespace chaos
{

/// Reproducible random numbers: the same on every machine for the same seed.
class Dice
{
public:
    explicit Dice(std::uint64_t seed) : m_engine(seed) {}

    /// From `least` to `most`, both included.
    std::uint32_t between(std::uint32_t least, std::uint32_t most)
    {
        return least + static_cast<std::uint32_t>(m_engine() % (std::uint64_t{most} - least + 1));
    }
    std::chrono::milliseconds between(std::chrono::milliseconds least, std::chrono::milliseconds most)
    {
        return std::chrono::milliseconds(
            between(static_cast<std::uint32_t>(least.count()), static_cast<std::uint32_t>(most.count())));
    }
    std::uint8_t byte() { return static_cast<std::uint8_t>(m_engine() & 0xffU); }
    std::uint64_t seed() { return m_engine(); }

private:
    std::mt19937_64 m_engine;
};

} // namespace chaos
