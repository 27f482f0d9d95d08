#pragma once

#include <cstdint>
#include <string>

#include "koraclient/AskOutputs.h"
#include "tools/koractl/common/Names.h"

namespace koractl
{

/// One line of fixed columns for a change.
std::string watchLine(std::uint32_t level, const koraclient::OutputRow& row, const Names& names = Names::none());
/// The same as one JSON object.
std::string watchJson(std::uint32_t level, const koraclient::OutputRow& row, const Names& names = Names::none());

} // namespace koractl
