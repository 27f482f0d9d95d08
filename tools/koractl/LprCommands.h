#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/CommandContext.h"

namespace koractl
{

/// Adds the commands lock, protect and release. The context must outlive the app.
void addLprCommands(CLI::App& app, CommandContext& context);

} // namespace koractl
