#include "koracommand/OutputRangeRsp.h"

#include "koracommand/LevelAccess.h"
#include "koracommand/WireLayout.h"

#include <algorithm>
#include <array>
#include <span>

void OutputRangeRsp::writeEntries(std::size_t entries, const Range& range, EntryWords entryWords)
{
    const auto level = getLevelInstance(range.level);
    // A block at a time: the level and its tables are asked once a block, and all of it stays in the processor's cache.
    constexpr std::uint32_t block = 64;
    std::array<OutputStatus, block> statuses;
    std::array<std::uint32_t, block* static_cast<std::size_t>(EntryWords::ResultInputLprStateLprId)> words{};
    std::size_t offset = entries;
    for (std::uint32_t done = 0; done < range.count;)
    {
        const std::uint32_t count = std::min(block, range.count - done);
        level->getOutputStatuses(range.firstOutput + done, std::span(statuses).first(count));
        std::size_t used = 0;
        for (const OutputStatus& status : std::span(statuses).first(count))
        {
            // All four, of which the next entry overwrites what this one is not to carry.
            const std::array<std::uint32_t, 4> entry{status.result, status.controllerInput, status.lprState,
                                                     status.lprId};
            std::copy(entry.begin(), entry.end(), words.begin() + used);
            used += static_cast<std::size_t>(entryWords);
        }
        setWords(offset, std::span(words).first(used));
        offset += used * wireLayout::wordBytes;
        done += count;
    }
}
