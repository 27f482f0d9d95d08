#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/CommandContext.h"

namespace koractl
{

/// Adds the command changes. The context must outlive the app.
void addChangesCommand(CLI::App& app, CommandContext& context);

} // namespace koractl
