#pragma once

#include "bustypes/SampleCheck.h"
#include "buswrappers/TypedTopics.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

/// Bounds the levels that exist, whoever publishes them: how many there are, and how many outputs they have together,
/// each of which costs four bytes for its changes. Owned by the level manager; apartment-bound.
class LevelBudget
{
public:
    static constexpr std::size_t mostLevels = com::tallowcrest::routing::MacroLevelSub::mostLevels;
    /// Four times what the largest router has.
    static constexpr std::uint32_t mostOutputs = 4 * com::tallowcrest::dds_::routing::largestLevel;

    /// Makes room for a level, in place of what its number had; false, and all stays as it is, when there is none.
    bool admit(bool isVideo, std::uint32_t levelId, std::uint32_t numOutputs)
    {
        const Key key(isVideo, levelId);
        const auto found = m_outputs.find(key);
        const std::uint32_t before = found == m_outputs.end() ? 0 : found->second;
        const bool hasRoom = found != m_outputs.end() || m_outputs.size() < mostLevels;
        if (!hasRoom || numOutputs > mostOutputs - (m_total - before))
        {
            return false;
        }
        m_outputs[key] = numOutputs;
        m_total = m_total - before + numOutputs;
        return true;
    }
    void clear()
    {
        m_outputs.clear();
        m_total = 0;
    }

private:
    using Key = std::pair<bool, std::uint32_t>;

    std::map<Key, std::uint32_t> m_outputs;
    std::uint32_t m_total = 0;
};
