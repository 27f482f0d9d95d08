#pragma once

#include "koracommand/CmdBase.h"

#include <cstdint>
#include <memory>
#include <span>

/// A message id that has a command.
struct CmdTableEntry
{
    std::uint32_t msgId;
    /// As the console lists it.
    const char* name;
    /// As the metrics call it.
    const char* label;
    /// Makes the command; the arguments are those of `CmdBase`.
    std::unique_ptr<CmdBase> (*create)(std::span<const std::uint8_t> message, std::shared_ptr<RspQueue> rspQueue,
                                       std::shared_ptr<ConnectionContext> context);
};

/// All message ids that have a command.
std::span<const CmdTableEntry> cmdTable();

/// One more request, for the metrics; null when no command has its message id.
void countRequest(const CmdTableEntry* entry);

/// The entry of a message id; null when no command has it.
const CmdTableEntry* findCmd(std::uint32_t msgId);
