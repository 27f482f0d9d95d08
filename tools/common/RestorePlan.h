#pragma once

#include "koraclient/AskOutputs.h"
#include "koraclient/KoraClient.h"
#include "koraclient/KoraTypes.h"
#include "koraclient/SendInParts.h"
#include "tools/common/BackupFile.h"

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace koractl
{

/// Whose rights a restore has.
struct RestoreRights
{
    std::uint32_t lprId = 0; ///< holder that the restore acts as, beside the holders that the file names
    bool isForced = false;   ///< whoever holds an output loses it
};

/// One part of bringing an output to what is wanted: what is sent, and what became of it.
template <class Entry>
struct RestorePart
{
    std::optional<Entry> entry;
    koraclient::EntryOutcome outcome;
};

/// One output that differs from what is wanted: at most a release, a take and a lock or protection, in this order.
struct RestoreStep
{
    OutputWish wish;
    koraclient::OutputRow before;
    RestorePart<koraclient::LprEntry> release{};
    RestorePart<koraclient::TakeEntry> take{};
    RestorePart<koraclient::LprEntry> hold{};
    std::string obstacle{}; ///< why something (or all) of it cannot be had; empty when all can be tried

    bool isRouteDifferent = false;
    bool isLprDifferent = false;
};

/// What is to be sent so that an output becomes what is wanted; nothing when it is that already. The rules are the
/// bridge's: a lock stops every take, also its holder's, so it is opened for a take and set again.
std::optional<RestoreStep> planRestore(const OutputWish& wish, const koraclient::OutputRow& before,
                                       const RestoreRights& rights);

/// Sends what the steps hold and notes each outcome in them: in groups that fit a message, each group's releases before
/// its takes and these before its locks, so that an end in between leaves at most one group half done. Returns what
/// stopped it, if anything did.
std::exception_ptr sendRestore(koraclient::KoraClient& client, std::vector<RestoreStep>& steps);

} // namespace koractl
