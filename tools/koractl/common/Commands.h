#pragma once

#include "tools/koractl/common/CommandContext.h"

#include <CLI/CLI.hpp>

namespace koractl
{

/// What each room of commands adds to the command line. The context must outlive the app.

// backup/
void addBackupCommands(CLI::App& app, CommandContext& context); ///< backup, restore

// commands/: ask the bridge and print its answer
void addTakeCommands(CLI::App& app, CommandContext& context);   ///< take, coherent-take
void addLprCommands(CLI::App& app, CommandContext& context);    ///< lock, protect, release
void addQueryCommands(CLI::App& app, CommandContext& context);  ///< tally, status
void addChangesCommand(CLI::App& app, CommandContext& context); ///< changes
void addSystemCommands(CLI::App& app, CommandContext& context); ///< partition, port, system, card
void addRawCommand(CLI::App& app, CommandContext& context);     ///< raw

// doctor/
void addDoctorCommand(CLI::App& app, CommandContext& context); ///< doctor

// matrix/
void addMatrixCommand(CLI::App& app, CommandContext& context); ///< matrix

// watch/
void addWatchCommand(CLI::App& app, CommandContext& context); ///< watch

} // namespace koractl
