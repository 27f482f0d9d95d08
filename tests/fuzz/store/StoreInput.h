#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace fuzz
{

/// The layout of the store harness's inputs: a byte that gives the size of the database file, the file, then its log.
namespace storeInput
{

/// The first byte counts in these.
inline constexpr std::size_t unit = 512;

inline std::span<const std::uint8_t> database(std::span<const std::uint8_t> input)
{
    const std::size_t wanted = input[0] * unit;
    return input.subspan(1, wanted < input.size() - 1 ? wanted : input.size() - 1);
}

inline std::span<const std::uint8_t> log(std::span<const std::uint8_t> input)
{
    return input.subspan(1 + database(input).size());
}

} // namespace storeInput

} // namespace fuzz
