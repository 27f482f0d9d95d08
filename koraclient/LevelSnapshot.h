#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "koraclient/KoraClient.h"
#include "koraclient/OutputRow.h"

namespace koraclient
{

/// Every output of a level by its number, with its route and its lock state.
using LevelSnapshot = std::map<std::uint32_t, OutputRow>;

/// Asks a fresh connection for all outputs of a level: to it every output is changed. What changes meanwhile is in it.
/// Nothing when the level does not exist. The connection's changes of the level are used up.
std::optional<LevelSnapshot> askSnapshot(KoraClient& client, std::uint32_t level);

} // namespace koraclient
