#pragma once

#include "koraclient/AskOutputs.h"
#include "koraclient/SendInParts.h"
#include "tools/common/Names.h"
#include "tools/common/Table.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

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

/// A column of numbers, and behind it a column of their names when the user gave names.
inline void addNamedColumn(std::vector<Table::Column>& columns, const Names& names, const std::string& heading)
{
    columns.push_back({heading});
    if (!names.isEmpty())
    {
        columns.push_back({heading + " NAME", Table::Align::left});
    }
}

/// The cells of such columns.
inline void addNamedCell(std::vector<std::string>& cells, const Names& names, std::string number, std::string name)
{
    cells.push_back(std::move(number));
    if (!names.isEmpty())
    {
        cells.push_back(std::move(name));
    }
}

/// Adds `key` when there is a name.
inline void addName(nlohmann::ordered_json& json, const char* key, const std::string& name)
{
    if (!name.empty())
    {
        json[key] = name;
    }
}

} // namespace koractl
