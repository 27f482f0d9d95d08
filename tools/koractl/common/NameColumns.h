#pragma once

#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/koractl/common/Names.h"
#include "tools/koractl/common/Table.h"

namespace koractl
{

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
