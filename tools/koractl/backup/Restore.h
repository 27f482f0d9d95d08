#pragma once

#include <exception>
#include <vector>

#include "koraclient/KoraClient.h"
#include "tools/koractl/backup/RestorePlan.h"

namespace koractl
{

/// Sends what the steps hold and notes each outcome in them: in groups that fit a message, each group's releases before
/// its takes and these before its locks, so that an end in between leaves at most one group half done. Returns what
/// stopped it, if anything did.
std::exception_ptr sendRestore(koraclient::KoraClient& client, std::vector<RestoreStep>& steps);

} // namespace koractl
