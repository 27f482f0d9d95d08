#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/CommandContext.h"

namespace koractl
{

/// Adds the commands take and coherent-take. The context must outlive the app.
void addTakeCommands(CLI::App& app, CommandContext& context);

} // namespace koractl
