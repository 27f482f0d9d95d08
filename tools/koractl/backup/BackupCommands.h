#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/common/CommandContext.h"

namespace koractl
{

/// Adds the commands backup and restore. The context must outlive the app.
void addBackupCommands(CLI::App& app, CommandContext& context);

} // namespace koractl
