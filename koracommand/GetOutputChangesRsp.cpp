#include "koracommand/GetOutputChangesRsp.h"

#include "koracommand/LevelAccess.h"
#include "koracommand/WireLayout.h"

#include <array>
#include <span>

namespace req = wireLayout::getOutputChangesReq;
namespace rsp = wireLayout::getOutputChangesRsp;

GetOutputChangesRsp::GetOutputChangesRsp(const WireReader& request, std::uint32_t connectionId)
    : Pooled(request, wireLayout::rspId::getOutputChanges)
{
    const std::uint32_t format = request.hostWordAt(req::format);
    const std::uint32_t levelNumber = request.hostWordAt(req::level);
    setWord(rsp::format, format);
    setWord(rsp::level, levelNumber);
    const std::uint32_t count = writeEntries(levelNumber, format, connectionId);
    setWord(rsp::count, count);
    // A full response says "more" even when it carries the last change: the level is not asked beyond the limit.
    setWord(rsp::more, count == rsp::maxEntries(format) ? 1 : 0);
    setLength(rsp::length(format, count));
}

std::uint32_t GetOutputChangesRsp::writeEntries(std::uint32_t levelNumber, std::uint32_t format,
                                                std::uint32_t connectionId)
{
    const auto level = getLevelInstance(levelNumber);
    level->beginOutputChanges(connectionId);

    const std::size_t wordsPerEntry = rsp::entryBytes(format) / wireLayout::wordBytes;
    std::size_t offset = rsp::entries;
    for (std::uint32_t count = 0; count < rsp::maxEntries(format); ++count)
    {
        std::array<std::uint32_t, rsp::longEntryBytes / wireLayout::wordBytes> words{};
        auto& [result, controllerOutput, controllerInput, lprState, lprId] = words;
        if (!level->getNextOutputChange(result, controllerOutput, controllerInput, lprState, lprId))
        {
            return count;
        }
        setWords(offset, std::span(words).first(wordsPerEntry));
        offset += wordsPerEntry * wireLayout::wordBytes;
    }
    return rsp::maxEntries(format);
}
