#include "tools/korapanel/model/PanelModel.h"

#include "koracommand/ResultCode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>
#include <utility>

namespace korapanel
{
namespace
{

using koraclient::LprState;
using koraclient::OutputRow;
using nlohmann::ordered_json;

const char* lockText(std::uint32_t state)
{
    return state == static_cast<std::uint32_t>(LprState::locked)        ? "locked"
           : state == static_cast<std::uint32_t>(LprState::isProtected) ? "protected"
                                                                        : "none";
}

/// An output without status shows no input and was never locked, released or taken by a holder.
bool isSpoken(const OutputRow& row)
{
    return row.result == resultCode::done || row.lpr.value_or(koraclient::OutputLpr{}) != koraclient::OutputLpr{};
}

/// One line, whatever bytes a name holds.
std::string lineOf(const ordered_json& json)
{
    return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

} // namespace

PanelModel::PanelModel(Settings settings) : m_settings(std::move(settings)), m_events(m_settings.firstRevision)
{
    for (const std::uint32_t level : m_settings.levels)
    {
        m_levels[level].inputs = namedInputs(level);
    }
}

std::uint32_t PanelModel::namedInputs(std::uint32_t level) const
{
    const auto named = m_settings.lastNamedInputs.find(level);
    return named == m_settings.lastNamedInputs.end() ? 0 : named->second;
}

std::string PanelModel::rowText(const OutputRow& row)
{
    const koraclient::OutputLpr lpr = row.lpr.value_or(koraclient::OutputLpr{});
    return "{\"output\":" + std::to_string(row.output) +
           ",\"input\":" + std::to_string(row.result == 0 ? row.input : 0) +
           ",\"result\":" + std::to_string(row.result) + ",\"lock\":\"" + lockText(lpr.state) +
           "\",\"holder\":" + std::to_string(lpr.isHeld() ? lpr.lprId : 0) + "}";
}

std::string PanelModel::pressText(const Press& press)
{
    ordered_json json{{"time", press.time}, {"who", press.who.name}, {"address", press.who.address},
                      {"what", press.what}, {"level", press.level},  {"output", press.output},
                      {"input", nullptr},   {"code", nullptr},       {"text", press.text}};
    if (press.input)
    {
        json["input"] = *press.input;
    }
    if (press.code)
    {
        json["code"] = *press.code;
    }
    return lineOf(json);
}

void PanelModel::setConnected(bool isConnected, const std::string& text)
{
    {
        const std::lock_guard lock(m_mutex);
        const bool isNews = m_isConnected != isConnected || m_linkText != text;
        m_isConnected = isConnected;
        m_linkText = text;
        m_isSettled = false;
        if (!isNews && isRouterPresent() == m_wasRouterPresent)
        {
            return;
        }
        appendState();
    }
    m_listener();
}

void PanelModel::settle()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isSettled = true;
        if (isRouterPresent() == m_wasRouterPresent)
        {
            return;
        }
        appendState();
    }
    m_listener();
}

void PanelModel::setPresent(std::uint32_t level, bool isPresent)
{
    {
        const std::lock_guard lock(m_mutex);
        Level& known = m_levels.at(level);
        if (known.isPresent == isPresent)
        {
            return;
        }
        known.isPresent = isPresent;
        m_events.append("levels", levelsBody(m_events.lastRevision() + 1));
    }
    m_listener();
}

void PanelModel::applyRows(std::uint32_t level, const std::vector<OutputRow>& rows)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!apply(level, rows, false))
        {
            return;
        }
    }
    m_listener();
}

void PanelModel::replaceRows(std::uint32_t level, const std::vector<OutputRow>& rows)
{
    {
        const std::lock_guard lock(m_mutex);
        Level& known = m_levels.at(level);
        std::set<std::uint32_t> kept;
        for (const OutputRow& row : rows)
        {
            kept.insert(row.output);
        }
        const std::size_t gone = std::erase_if(known.rows, [&](const auto& entry) {
            const bool isGone = !kept.contains(entry.first);
            known.spoken -= isGone && isSpoken(entry.second) ? 1U : 0U;
            return isGone;
        });
        if (gone > 0)
        {
            known.inputs = namedInputs(level);
        }
        if (!apply(level, rows, gone > 0))
        {
            return;
        }
    }
    m_listener();
}

bool PanelModel::apply(std::uint32_t level, const std::vector<OutputRow>& rows, bool isOther)
{
    Level& known = m_levels.at(level);
    const auto shapeOf = [&] { return std::pair(known.rows.size(), known.inputs); };
    const auto shape = shapeOf();
    std::string changed;
    for (const OutputRow& row : rows)
    {
        const bool hasSpoken = isSpoken(row);
        m_hasSpoken = m_hasSpoken || hasSpoken;
        m_isSettled = m_isSettled || hasSpoken;
        known.inputs = std::max({known.inputs, row.output, row.result == 0 ? row.input : 0});
        const auto [place, isNew] = known.rows.try_emplace(row.output, row);
        if (!isNew && place->second == row)
        {
            continue;
        }
        known.spoken -= !isNew && isSpoken(place->second) ? 1U : 0U;
        known.spoken += hasSpoken ? 1U : 0U;
        place->second = row;
        changed.append(changed.empty() ? "" : ",").append(rowText(row));
    }
    if (changed.empty() && !isOther)
    {
        return false;
    }
    known.text.reset();
    if (isOther || shapeOf() != shape)
    {
        m_events.append("levels", levelsBody(m_events.lastRevision() + 1));
    }
    if (!changed.empty())
    {
        m_events.append("outputs", "{\"level\":" + std::to_string(level) + ",\"revision\":" +
                                       std::to_string(m_events.lastRevision() + 1) + ",\"outputs\":[" + changed + "]}");
    }
    if (isRouterPresent() != m_wasRouterPresent)
    {
        appendState();
    }
    return true;
}

void PanelModel::addPresses(const std::vector<Press>& presses)
{
    {
        const std::lock_guard lock(m_mutex);
        for (const Press& press : presses)
        {
            m_presses.push_back(press);
            m_events.append("press", pressText(press));
        }
        while (m_presses.size() > mostPresses)
        {
            m_presses.pop_front();
        }
    }
    m_listener();
}

void PanelModel::appendState()
{
    m_wasRouterPresent = isRouterPresent();
    m_events.append("state", stateBody(m_events.lastRevision() + 1));
}

std::optional<bool> PanelModel::isRouterPresent() const
{
    const bool isHeard =
        std::any_of(m_levels.begin(), m_levels.end(), [](const auto& level) { return level.second.spoken > 0; });
    const bool isKnown = m_isConnected && (isHeard || (m_hasSpoken && m_isSettled));
    return isKnown ? std::optional(isHeard) : std::nullopt;
}

std::string PanelModel::stateBody(std::uint64_t revision) const
{
    const auto isPresent = isRouterPresent();
    return lineOf({{"bridge", {{"host", m_settings.bridge}, {"connected", m_isConnected}, {"text", m_linkText}}},
                   {"router", {{"present", isPresent ? ordered_json(*isPresent) : ordered_json(nullptr)}}},
                   {"version", m_settings.version},
                   {"run", m_settings.firstRevision},
                   {"revision", revision}});
}

std::string PanelModel::levelsBody(std::uint64_t revision) const
{
    ordered_json list = ordered_json::array();
    for (const auto& [number, level] : m_levels)
    {
        const auto name = m_settings.levelNames.find(number);
        const std::uint32_t outputs = level.rows.empty() ? 0 : level.rows.rbegin()->first;
        list.push_back({{"level", number},
                        {"name", name == m_settings.levelNames.end() ? "" : name->second},
                        {"outputs", outputs},
                        {"inputs", std::max(level.inputs, outputs)},
                        {"present", level.isPresent}});
    }
    return lineOf({{"revision", revision}, {"levels", std::move(list)}});
}

std::string PanelModel::stateText() const
{
    const std::lock_guard lock(m_mutex);
    return stateBody(m_events.lastRevision());
}

std::string PanelModel::levelsText() const
{
    const std::lock_guard lock(m_mutex);
    return levelsBody(m_events.lastRevision());
}

SharedText PanelModel::outputsText(std::uint32_t level) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_levels.find(level);
    if (found == m_levels.end())
    {
        return nullptr;
    }
    if (!found->second.text)
    {
        std::string text = "{\"level\":" + std::to_string(level) +
                           ",\"revision\":" + std::to_string(m_events.lastRevision()) + ",\"outputs\":[";
        const char* separator = "";
        for (const auto& entry : found->second.rows)
        {
            text.append(separator).append(rowText(entry.second));
            separator = ",";
        }
        found->second.text = std::make_shared<const std::string>(text + "]}");
    }
    return found->second.text;
}

std::string PanelModel::historyText(double now) const
{
    const std::lock_guard lock(m_mutex);
    const double oldest = now - static_cast<double>(std::chrono::seconds(longestHistory).count());
    std::string text = "{\"presses\":[";
    const char* separator = "";
    for (const Press& press : m_presses)
    {
        if (press.time >= oldest)
        {
            text.append(separator).append(pressText(press));
            separator = ",";
        }
    }
    return text + "]}";
}

bool PanelModel::isConnected() const
{
    const std::lock_guard lock(m_mutex);
    return m_isConnected;
}

std::map<std::uint32_t, koraclient::LevelSnapshot> PanelModel::snapshots() const
{
    const std::lock_guard lock(m_mutex);
    std::map<std::uint32_t, koraclient::LevelSnapshot> all;
    for (const auto& [number, level] : m_levels)
    {
        if (level.isPresent)
        {
            all.emplace(number, level.rows);
        }
    }
    return all;
}

std::uint64_t PanelModel::lastRevision() const
{
    const std::lock_guard lock(m_mutex);
    return m_events.lastRevision();
}

bool PanelModel::holdsAllAfter(std::uint64_t revision) const
{
    const std::lock_guard lock(m_mutex);
    return m_events.holdsAllAfter(revision);
}

SharedText PanelModel::eventAfter(std::uint64_t revision) const
{
    const std::lock_guard lock(m_mutex);
    return m_events.after(revision);
}

} // namespace korapanel
