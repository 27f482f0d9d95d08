#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/CommandContext.h"

namespace koractl
{

/// Adds the commands tally and status. The context must outlive the app.
void addQueryCommands(CLI::App& app, CommandContext& context);

} // namespace koractl
