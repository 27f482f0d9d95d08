#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "koraclient/KoraTypes.h"

namespace koraclient
{

/// Lock state of an output and the lprId stored with it.
struct OutputLpr
{
    std::uint32_t state = 0; ///< see `LprState`
    std::uint32_t lprId = 0;

    bool isHeld() const { return state != static_cast<std::uint32_t>(LprState::released); }
    /// "released", "locked by 5", "protected by 12".
    std::string text() const;
    bool operator==(const OutputLpr&) const = default;
};

/// One output with what it shows and who holds it. Plain value.
struct OutputRow
{
    std::uint32_t output = 0;
    std::uint32_t result = 0;     ///< result code of the query; 3: none of the level's inputs is routed
    std::uint32_t input = 0;      ///< meaningful only when `result` is 0
    std::optional<OutputLpr> lpr; ///< absent where the message does not carry it

    bool operator==(const OutputRow&) const = default;

    /// The input's number, "-" when no input of the level is routed.
    std::string inputText() const;
    /// "released", "locked by 5", "protected by 12"; empty without lpr.
    std::string stateText() const;
};

} // namespace koraclient
