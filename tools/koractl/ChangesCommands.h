#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/CommandContext.h"

namespace koractl
{

/// Adds the commands changes and watch. The context must outlive the app.
void addChangesCommands(CLI::App& app, CommandContext& context);

} // namespace koractl
