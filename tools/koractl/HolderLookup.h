#pragma once

#include <cstdint>
#include <optional>

#include "tools/koractl/KoraClient.h"

namespace koractl
{

/// Who holds an output that was refused as locked or protected: asks the output's status. Empty for other results, and
/// when the status does not (or not yet) show the state that the refusal named.
std::optional<std::uint32_t> askHolder(KoraClient& client, std::uint32_t level, std::uint32_t output,
                                       std::uint32_t result);

} // namespace koractl
