#include "koracommand/OutputRangeRsp.h"

#include "koracommand/LevelAccess.h"
#include "koracommand/WireLayout.h"

#include <array>
#include <span>

void OutputRangeRsp::writeEntries(std::size_t entries, const Range& range, EntryWords entryWords)
{
    const auto level = getLevelInstance(range.level);
    const auto wordsPerEntry = static_cast<std::size_t>(entryWords);
    std::size_t offset = entries;
    for (std::uint32_t i = 0; i < range.count; ++i)
    {
        std::array<std::uint32_t, static_cast<std::size_t>(EntryWords::ResultInputLprStateLprId)> words{};
        auto& [result, controllerInput, lprState, lprId] = words;
        result = level->getOutputStatus(range.firstOutput + i, controllerInput, lprState, lprId);
        setWords(offset, std::span(words).first(wordsPerEntry));
        offset += wordsPerEntry * wireLayout::wordBytes;
    }
}
