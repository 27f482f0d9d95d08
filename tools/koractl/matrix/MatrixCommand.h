#pragma once

#include <CLI/CLI.hpp>

#include "tools/koractl/common/CommandContext.h"

namespace koractl
{

/// Adds the command matrix. The context must outlive the app.
void addMatrixCommand(CLI::App& app, CommandContext& context);

} // namespace koractl
