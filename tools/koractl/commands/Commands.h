#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/common/CommandContext.h"

namespace koractl
{

/// Add the commands that ask the bridge and print its answer. The context must outlive the app.
void addTakeCommands(CLI::App& app, CommandContext& context);   ///< take, coherent-take
void addLprCommands(CLI::App& app, CommandContext& context);    ///< lock, protect, release
void addQueryCommands(CLI::App& app, CommandContext& context);  ///< tally, status
void addChangesCommand(CLI::App& app, CommandContext& context); ///< changes
void addSystemCommands(CLI::App& app, CommandContext& context); ///< partition, port, system, card
void addRawCommand(CLI::App& app, CommandContext& context);     ///< raw

} // namespace koractl
