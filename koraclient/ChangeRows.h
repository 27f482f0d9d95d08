#pragma once

#include <cstdint>
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

ChangeRows askChanges(KoraClient& client, std::uint32_t format, std::uint32_t level);

/// An unknown level reports no changes, which looks like a quiet one; a status query tells them apart.
bool askLevelExists(KoraClient& client, std::uint32_t level);

} // namespace koraclient
