#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/CommandContext.h"

namespace koractl
{

/// Adds the commands partition, port, system and card. The context must outlive the app.
void addSystemCommands(CLI::App& app, CommandContext& context);

} // namespace koractl
