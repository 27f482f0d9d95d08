#pragma once

#include <cstdint>

/// Result codes of levels, crosspoint managers and responses, as they travel on the controller link.
namespace resultCode
{

inline constexpr std::uint32_t done = 0;
inline constexpr std::uint32_t esfInvalidSrc = 3;    ///< input outside the level or not available
inline constexpr std::uint32_t esfInvalidDst = 4;    ///< output outside the level or not available
inline constexpr std::uint32_t noSuchLevel = 5;      ///< the level number is unknown
inline constexpr std::uint32_t unknownMessage = 8;   ///< error response: no command has this message id
inline constexpr std::uint32_t outputLocked = 12;    ///< the output is locked
inline constexpr std::uint32_t outputProtected = 13; ///< the output is protected by another holder
inline constexpr std::uint32_t groupDisagrees = 25;  ///< the crosspoints of one output show no consecutive sources

} // namespace resultCode
