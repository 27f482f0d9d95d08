#include "tools/koractl/backup/BackupReport.h"

#include <algorithm>
#include <ostream>

#include "koraclient/ResultText.h"
#include "koracommand/ResultCode.h"

namespace koractl
{
namespace
{

using koraclient::isStatusAnswered;
using koraclient::LevelSnapshot;
using koraclient::statusResultText;

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

} // namespace koractl
