#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace koraclient
{

/// Readable sentences for the result codes of the link. Pure functions.

/// Why a take was not done. `holder` is the lprId that locks or protects the output, when it is known.
std::string takeResultText(std::uint32_t result, std::uint32_t level, std::uint32_t input, std::uint32_t output,
                           std::optional<std::uint32_t> holder);

/// Why a lock, protect or release was not done.
std::string lprResultText(std::uint32_t result, std::uint32_t level, std::uint32_t output,
                          std::optional<std::uint32_t> holder);

/// What the result code of a status query says; "ok" for 0, "no route" for an output whose source is not on the level.
std::string statusResultText(std::uint32_t result, std::uint32_t level, std::uint32_t output);

/// True when a status query found the output; also when its source is not on the level.
bool isStatusAnswered(std::uint32_t result);

/// "released", "locked", "protected", or the number for a state that the link does not define.
std::string lprStateText(std::uint32_t lprState);

} // namespace koraclient
