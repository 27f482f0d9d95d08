#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "koraclient/KoraClient.h"
#include "koraclient/OutputRow.h"

namespace koraclient
{

/// One answer to an output changes request as rows; `more` says that another request may bring more.
struct ChangeRows
{
    std::vector<OutputRow> rows;
    bool more = false;
};

/// One request: up to 679 rows without lock state in format 1, up to 64 with it in any other. Throws what the client
/// throws, as all of these do.
ChangeRows askChanges(KoraClient& client, std::uint32_t format, std::uint32_t level);

/// An unknown level reports no changes, which looks like a quiet one; a status query tells them apart.
bool askLevelExists(KoraClient& client, std::uint32_t level);

/// Every output of a level by its number, with its route and its lock state.
using LevelSnapshot = std::map<std::uint32_t, OutputRow>;

/// Asks a fresh connection for all outputs of a level: to it every output is changed. What changes meanwhile is in it.
/// Nothing when the level does not exist. The connection's changes of the level are used up.
std::optional<LevelSnapshot> askSnapshot(KoraClient& client, std::uint32_t level);

} // namespace koraclient
