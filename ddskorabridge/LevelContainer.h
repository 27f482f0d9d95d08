#pragma once

#include "koracommand/ILevel.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// The levels of one signal type by number. Shared by the level manager, which fills it, and the status manager of its
/// signal type, which reports changes through it. Apartment-bound, except `showEntries`.
class LevelContainer
{
public:
    using Entry = std::pair<std::uint32_t, std::shared_ptr<const ILevel>>;

    LevelContainer() = default;
    LevelContainer(const LevelContainer&) = delete;
    LevelContainer& operator=(const LevelContainer&) = delete;

    /// Stores the level, in place of the one that had the number. The new one starts with fresh change tracking.
    void set(std::uint32_t levelId, std::shared_ptr<ILevel> level);
    /// False, and `level` as it was, when no level has the number.
    bool find(std::uint32_t levelId, std::shared_ptr<ILevel>& level) const;
    void erase(std::uint32_t levelId);
    void clear();

    /// Passed on to every level.
    void notifyNewConnection(std::uint32_t connection);
    void noteSourceChange(std::uint32_t xpt);
    void noteLprChange(std::uint32_t xpt);

    /// The levels held now, in no particular order.
    std::vector<Entry> entries() const;

    /// Prints the title and a line per level to the console.
    void show(const std::string& title) const;
    /// The same for levels that `entries` gave; any thread.
    static void showEntries(const std::string& title, const std::vector<Entry>& entries);

private:
    std::unordered_map<std::uint32_t, std::shared_ptr<ILevel>> m_levels;
};
