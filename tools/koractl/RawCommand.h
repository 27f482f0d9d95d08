#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/CommandContext.h"

namespace koractl
{

/// Adds the command raw. The context must outlive the app.
void addRawCommand(CLI::App& app, CommandContext& context);

} // namespace koractl
