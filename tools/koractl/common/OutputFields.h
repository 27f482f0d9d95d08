#pragma once

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

#include "koraclient/AskOutputs.h"
#include "koraclient/SendInParts.h"
#include "tools/koractl/common/Names.h"

namespace koractl
{

/// What reports say of an output and of an entry, where the link's numbers are not enough. Pure functions.

/// Name of the input that an output shows; empty when it shows none of the level or the input has no name.
std::string inputNameOf(const koraclient::OutputRow& row, std::uint32_t level, const Names& names);

/// Fields output, result, input (null when none), state and lprId (where carried), text, and the names there are.
nlohmann::ordered_json fieldsOf(const koraclient::OutputRow& row, std::uint32_t level,
                                const Names& names = Names::none());

/// The result code, null for an entry without one.
nlohmann::ordered_json resultOf(const koraclient::EntryOutcome& outcome);

} // namespace koractl
