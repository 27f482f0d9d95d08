#pragma once

#include "koraclient/AskOutputs.h"
#include "tools/korapanel/model/EventLog.h"
#include "tools/korapanel/model/Press.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace korapanel
{

/// What the panel knows of the bridge and its router, and what was pressed, as the texts that go to browsers. The
/// link's thread changes it, the server's thread reads it: thread-safe, held for no longer than a text takes to make.
class PanelModel
{
public:
    static constexpr std::size_t mostPresses = 4096;
    static constexpr std::chrono::minutes longestHistory{10};

    struct Settings
    {
        std::string bridge;                ///< HOST:PORT as it is shown
        std::string version;               ///< of this program
        std::vector<std::uint32_t> levels; ///< those that are asked for
        std::uint64_t firstRevision = 0;   ///< revisions of an earlier run must not look like ours
        std::map<std::uint32_t, std::string> levelNames{};
        std::map<std::uint32_t, std::uint32_t> lastNamedInputs{}; ///< by level
    };

    explicit PanelModel(Settings settings);

    /// Told after each change, without the lock, on the thread that made it. Set before there are threads.
    void onEvent(std::function<void()> listener) { m_listener = std::move(listener); }

    // The link's side.
    /// There is a new connection, or none.
    void setConnected(bool isConnected, const std::string& text);
    /// The connection is old enough: a bridge that had a router's status to tell has told it.
    void settle();
    void setPresent(std::uint32_t level, bool isPresent);
    /// Rows as they are now; those that are known already change nothing.
    void applyRows(std::uint32_t level, const std::vector<koraclient::OutputRow>& rows);
    /// All rows of the level, which has no others any more.
    void replaceRows(std::uint32_t level, const std::vector<koraclient::OutputRow>& rows);
    void addPresses(const std::vector<Press>& presses);

    // The server's side: bodies of answers.
    std::string stateText() const;
    std::string levelsText() const;
    /// Nothing when the level is not one of those that are asked for.
    SharedText outputsText(std::uint32_t level) const;
    std::string historyText(double now) const;
    bool hasLevel(std::uint32_t level) const { return m_levels.contains(level); }
    bool isConnected() const;
    /// Every level with its outputs as they are known.
    std::map<std::uint32_t, koraclient::LevelSnapshot> snapshots() const;

    // The streams' side.
    std::uint64_t lastRevision() const;
    bool holdsAllAfter(std::uint64_t revision) const;
    SharedText eventAfter(std::uint64_t revision) const;

    static std::string rowText(const koraclient::OutputRow& row);
    static std::string pressText(const Press& press);

private:
    struct Level
    {
        std::map<std::uint32_t, koraclient::OutputRow> rows;
        bool isPresent = false;
        std::uint32_t inputs = 0;     ///< the highest that is routed, named or has an output beside it
        std::size_t spoken = 0;       ///< how many outputs show anything that only a router can have said
        mutable SharedText text = {}; ///< of all rows, until one changes
    };

    /// The highest input of the level that has a name.
    std::uint32_t namedInputs(std::uint32_t level) const;

    // All under the lock.
    std::string stateBody(std::uint64_t revision) const;
    std::string levelsBody(std::uint64_t revision) const;
    /// No answer of the link says it. But a router that goes takes the status of every output with it, so what an
    /// output shows proves that there is one, and that nothing is left of what was shown, that it is gone. Nothing
    /// where neither is known: no output has shown anything, or not yet on this connection.
    std::optional<bool> isRouterPresent() const;
    void appendState();
    /// Takes over what differs and appends the events; `isOther`: the level's shape has changed already.
    bool apply(std::uint32_t level, const std::vector<koraclient::OutputRow>& rows, bool isOther);

    const Settings m_settings;
    std::function<void()> m_listener;
    mutable std::mutex m_mutex; ///< of all below
    EventLog m_events;
    std::map<std::uint32_t, Level> m_levels;
    bool m_isConnected = false;
    std::string m_linkText = "not connected yet";
    std::optional<bool> m_wasRouterPresent;
    bool m_hasSpoken = false; ///< a router has, since the start
    bool m_isSettled = false; ///< it has on this connection, or had the time to
    std::deque<Press> m_presses;
};

} // namespace korapanel
