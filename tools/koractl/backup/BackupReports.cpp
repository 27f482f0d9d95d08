#include "tools/koractl/backup/BackupReports.h"

#include "koraclient/ResultText.h"
#include "koracommand/ResultCode.h"
#include "tools/common/OutputFields.h"
#include "tools/common/Table.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace koractl
{

namespace
{

using koraclient::isStatusAnswered;
using koraclient::LevelSnapshot;
using koraclient::lprResultText;
using koraclient::lprStateText;
using koraclient::statusResultText;
using koraclient::takeResultText;

std::string counted(std::size_t count, const std::string& what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

} // namespace

void BackupReport::add(std::uint32_t level, const LevelSnapshot& snapshot)
{
    Level saved{.level = level, .outputs = snapshot.size()};
    for (const auto& [output, row] : snapshot)
    {
        saved.routes += row.result == resultCode::done ? 1U : 0U;
        saved.held += row.lpr && row.lpr->isHeld() ? 1U : 0U;
        saved.unsaved += isStatusAnswered(row.result) ? 0U : 1U;
    }
    m_levels.push_back(saved);
}

void BackupReport::printText(std::ostream& out) const
{
    for (const Level& each : m_levels)
    {
        if (each.isMissing)
        {
            out << statusResultText(resultCode::noSuchLevel, each.level, 0) << '\n';
            continue;
        }
        out << "level " << each.level << ": " << counted(each.outputs, "output") << ", "
            << counted(each.routes, "route") << ", " << each.held << " locked or protected";
        if (each.unsaved > 0)
        {
            out << ", " << each.unsaved << " not saved";
        }
        out << '\n';
    }
}

nlohmann::ordered_json BackupReport::toJson() const
{
    auto levels = nlohmann::ordered_json::array();
    for (const Level& each : m_levels)
    {
        nlohmann::ordered_json level{{"level", each.level},
                                     {"done", !each.isMissing && each.unsaved == 0},
                                     {"outputs", each.outputs},
                                     {"routes", each.routes},
                                     {"held", each.held}};
        if (each.isMissing)
        {
            level["text"] = statusResultText(resultCode::noSuchLevel, each.level, 0);
        }
        levels.push_back(std::move(level));
    }
    return {{"command", "backup"}, {"done", isAllDone()}, {"file", m_file}, {"levels", std::move(levels)}};
}

bool BackupReport::isAllDone() const
{
    return std::none_of(m_levels.begin(), m_levels.end(),
                        [](const Level& each) { return each.isMissing || each.unsaved > 0; });
}

namespace
{

std::string wantedInput(const RestoreStep& step)
{
    return step.wish.route->input ? std::to_string(*step.wish.route->input) : "none";
}

std::string inputText(const RestoreStep& step)
{
    return step.isRouteDifferent ? step.before.inputText() + " -> " + wantedInput(step) : step.before.inputText();
}

std::string stateText(const RestoreStep& step)
{
    const std::string before = step.before.stateText();
    return step.isLprDifferent ? before + " -> " + step.wish.lpr->text() : before;
}

/// Why one part was not done; empty when it was, or is not needed.
template <class Entry, class Text>
std::string problemOfPart(const RestorePart<Entry>& part, const char* what, Text text)
{
    if (!part.entry || part.outcome.isDone())
    {
        return "";
    }
    return std::string(what) + ": " +
           (part.outcome.isAnswered() ? text(part.outcome.result) : part.outcome.missingText());
}

} // namespace

RestoreReport::RestoreReport(bool isDryRun, std::map<std::uint32_t, std::size_t> wanted, std::vector<RestoreStep> steps,
                             const Names& names)
    : m_isDryRun(isDryRun), m_wanted(std::move(wanted)), m_steps(std::move(steps)), m_names(names)
{}

std::string RestoreReport::problemOf(const RestoreStep& step)
{
    const auto lprText = [&step](std::uint32_t result) {
        return lprResultText(result, step.wish.level, step.wish.output, std::nullopt);
    };
    const auto takeText = [&step](std::uint32_t result) {
        return takeResultText(result, step.wish.level, step.take.entry->input, step.wish.output, std::nullopt);
    };
    std::string problems = step.obstacle;
    for (const std::string& problem :
         {problemOfPart(step.release, "release", lprText), problemOfPart(step.take, "take", takeText),
          problemOfPart(step.hold, "lock", lprText)})
    {
        problems += (problems.empty() || problem.empty() ? "" : "; ") + problem;
    }
    return problems;
}

bool RestoreReport::isDone(const RestoreStep& step) const
{
    return m_isDryRun ? step.obstacle.empty() : problemOf(step).empty();
}

std::string RestoreReport::textOf(const RestoreStep& step) const
{
    if (isDone(step))
    {
        return m_isDryRun ? "would be set" : "done";
    }
    return m_isDryRun ? step.obstacle : problemOf(step);
}

std::string RestoreReport::summary(std::uint32_t level, std::size_t wanted) const
{
    std::size_t differing = 0;
    std::size_t done = 0;
    for (const RestoreStep& step : m_steps)
    {
        differing += step.wish.level == level ? 1U : 0U;
        done += step.wish.level == level && isDone(step) ? 1U : 0U;
    }
    const std::string mayBe = m_isDryRun ? "would be " : "";
    std::string text = "level " + std::to_string(level) + ": " + std::to_string(wanted) +
                       (wanted == 1 ? " output" : " outputs") + " in the file, " + std::to_string(wanted - differing) +
                       " as wanted, " + std::to_string(done) + " " + mayBe + "set";
    if (done < differing)
    {
        text += ", " + std::to_string(differing - done) + (m_isDryRun ? " would not be set" : " not set");
    }
    return text;
}

void RestoreReport::printText(std::ostream& out) const
{
    if (!m_steps.empty())
    {
        std::vector<Table::Column> columns{{"LEVEL"}};
        addNamedColumn(columns, m_names, "OUTPUT");
        columns.push_back({"INPUT"});
        columns.push_back({"STATE", Table::Align::left});
        columns.push_back({"RESULT", Table::Align::left});
        Table table(std::move(columns));
        for (const RestoreStep& step : m_steps)
        {
            std::vector<std::string> cells{std::to_string(step.wish.level)};
            addNamedCell(cells, m_names, std::to_string(step.wish.output),
                         m_names.output(step.wish.level, step.wish.output));
            cells.push_back(inputText(step));
            cells.push_back(stateText(step));
            cells.push_back(textOf(step));
            table.addRow(std::move(cells));
        }
        table.print(out);
    }
    for (const auto& [level, wanted] : m_wanted)
    {
        out << summary(level, wanted) << '\n';
    }
}

nlohmann::ordered_json RestoreReport::toJson() const
{
    auto levels = nlohmann::ordered_json::array();
    for (const auto& [level, wanted] : m_wanted)
    {
        levels.push_back({{"level", level}, {"wanted", wanted}});
    }
    auto entries = nlohmann::ordered_json::array();
    for (const RestoreStep& step : m_steps)
    {
        nlohmann::ordered_json entry{{"level", step.wish.level}, {"output", step.wish.output}};
        entry["line"] = step.wish.line;
        entry["before"] = fieldsOf(step.before, step.wish.level);
        entry["before"].erase("output");
        auto wanted = nlohmann::ordered_json::object();
        if (step.wish.route)
        {
            wanted["input"] = step.wish.route->input ? nlohmann::ordered_json(*step.wish.route->input) : nullptr;
        }
        if (step.wish.lpr)
        {
            wanted["state"] = lprStateText(step.wish.lpr->state);
            wanted["lprId"] = step.wish.lpr->lprId;
        }
        entry["wanted"] = std::move(wanted);
        entry["done"] = !m_isDryRun && isDone(step);
        entry["text"] = textOf(step);
        addName(entry, "outputName", m_names.output(step.wish.level, step.wish.output));
        entries.push_back(std::move(entry));
    }
    return {{"command", "restore"},
            {"done", isAllDone()},
            {"dryRun", m_isDryRun},
            {"levels", levels},
            {"entries", std::move(entries)}};
}

bool RestoreReport::isAllDone() const
{
    return !trouble() &&
           std::all_of(m_steps.begin(), m_steps.end(), [this](const RestoreStep& step) { return isDone(step); });
}

} // namespace koractl
