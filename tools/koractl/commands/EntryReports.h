#pragma once

#include "koraclient/KoraTypes.h"
#include "koraclient/SendInParts.h"
#include "tools/common/Names.h"
#include "tools/koractl/common/Report.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace koractl
{

/// Outcome of one take entry; `holder` is who locks or protects the output, when that was the reason and is known.
struct TakeRow
{
    koraclient::TakeEntry entry;
    koraclient::EntryOutcome outcome;
    std::optional<std::uint32_t> holder;
};

/// Outcome of a take or a coherent take. Plain value; refers to the names.
class TakeReport : public Report
{
public:
    /// `command` is the command's name as the user types it.
    TakeReport(std::string command, std::vector<TakeRow> rows, const Names& names = Names::none());

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    bool isAllDone() const override;

private:
    std::string m_command;
    std::vector<TakeRow> m_rows;
    const Names& m_names;
};

/// Outcome of one lock, protect or release entry; `holder` as in `TakeRow`.
struct LprRow
{
    koraclient::LprEntry entry;
    koraclient::EntryOutcome outcome;
    std::optional<std::uint32_t> holder;
};

/// Outcome of a lock, protect or release. Plain value; refers to the names.
class LprReport : public Report
{
public:
    /// `command` is the command's name as the user types it.
    LprReport(std::string command, std::vector<LprRow> rows, const Names& names = Names::none());

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    bool isAllDone() const override;

private:
    std::string m_command;
    std::vector<LprRow> m_rows;
    const Names& m_names;
};

} // namespace koractl
