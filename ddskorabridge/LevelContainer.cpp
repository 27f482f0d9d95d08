#include "ddskorabridge/LevelContainer.h"

#include "runtime/misc/Console.h"

using com::tallowcrest::misc::print;

void LevelContainer::set(std::uint32_t levelId, std::shared_ptr<ILevel> level)
{
    const auto found = m_levels.find(levelId);
    if (found != m_levels.end())
    {
        // The same level published again and another one are treated alike: both replace, so that every sample yields
        // a level with fresh change tracking.
        static_cast<void>(found->second->isSame(*level));
        m_levels.erase(found);
    }
    m_levels.emplace(levelId, std::move(level));
}

bool LevelContainer::find(std::uint32_t levelId, std::shared_ptr<ILevel>& level) const
{
    const auto found = m_levels.find(levelId);
    if (found == m_levels.end())
    {
        return false;
    }
    level = found->second;
    return true;
}

void LevelContainer::erase(std::uint32_t levelId)
{
    m_levels.erase(levelId);
}

void LevelContainer::clear()
{
    m_levels.clear();
}

void LevelContainer::notifyNewConnection(std::uint32_t connection)
{
    for (const auto& [levelId, level] : m_levels)
    {
        level->notifyNewConnection(connection);
    }
}

void LevelContainer::noteSourceChange(std::uint32_t xpt)
{
    for (const auto& [levelId, level] : m_levels)
    {
        level->noteSourceChange(xpt);
    }
}

void LevelContainer::noteLprChange(std::uint32_t xpt)
{
    for (const auto& [levelId, level] : m_levels)
    {
        level->noteLprChange(xpt);
    }
}

std::vector<LevelContainer::Entry> LevelContainer::entries() const
{
    return {m_levels.begin(), m_levels.end()};
}

void LevelContainer::show(const std::string& title) const
{
    showEntries(title, entries());
}

void LevelContainer::showEntries(const std::string& title, const std::vector<Entry>& entries)
{
    print("%s\n", title.c_str());
    for (const auto& [levelId, level] : entries)
    {
        print("    Lvl %2d: ", static_cast<int>(levelId));
        level->show();
    }
}
