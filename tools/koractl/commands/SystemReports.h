#pragma once

#include <cstdint>

#include "koraclient/KoraTypes.h"
#include "tools/koractl/commands/WordsReport.h"

namespace koractl
{

/// Reports of the commands that answer with plain words. Pure functions.

WordsReport partitionReport(const koraclient::PartitionInfo& info);
WordsReport portReport(std::uint32_t value);
WordsReport systemReport(const koraclient::SystemStatus& status);
WordsReport cardReport(const koraclient::CardPresence& presence);

} // namespace koractl
