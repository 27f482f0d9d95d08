#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/common/CommandContext.h"

namespace koractl
{

/// Adds the command watch. The context must outlive the app.
void addWatchCommand(CLI::App& app, CommandContext& context);

} // namespace koractl
