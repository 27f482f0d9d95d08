#include "koracommand/QueryCommands.h"

#include "koracommand/ILevel.h"
#include "koracommand/LevelAccess.h"
#include "koracommand/WireLayout.h"

#include <algorithm>
#include <array>
#include <bit>
#include <span>

template <typename Entry>
void OutputRangeRsp::writeEntries(std::size_t entries, const Range& range)
{
    const auto level = getLevelInstance(range.level);
    // A block at a time: the level and its tables are asked once a block, and all of it stays in the processor's cache.
    constexpr std::uint32_t block = 64;
    constexpr std::size_t wordsPerEntry = sizeof(Entry) / wireLayout::wordBytes;
    std::array<Entry, block> statuses;
    std::size_t offset = entries;
    for (std::uint32_t done = 0; done < range.count;)
    {
        const std::uint32_t count = std::min(block, range.count - done);
        level->getOutputStatuses(range.firstOutput + done, std::span(statuses).first(count));
        const auto words = std::bit_cast<std::array<std::uint32_t, block * wordsPerEntry>>(statuses);
        setWords(offset, std::span(words).first(count * wordsPerEntry));
        offset += count * sizeof(Entry);
        done += count;
    }
}

TallyRsp::TallyRsp(const WireReader& request, ConnectionContext& context) : Pooled(request, wireLayout::rspId::tally)
{
    namespace req = wireLayout::tallyReq;
    namespace rsp = wireLayout::tallyRsp;
    const Range range{.level = request.hostWordAt(req::level),
                      .firstOutput = request.hostWordAt(req::firstOutput),
                      .count = context.limitCount(request.hostWordAt(wireLayout::header::msgId),
                                                  request.hostWordAt(req::count), rsp::maxEntries)};
    setLength(rsp::length(range.count));
    setWord(rsp::level, range.level);
    setWord(rsp::firstOutput, range.firstOutput);
    setWord(rsp::count, range.count);
    writeEntries<OutputSource>(rsp::entries, range);
}

std::unique_ptr<Rsp> TallyCmd::createRsp()
{
    return std::make_unique<TallyRsp>(request(), context());
}

GetOutputStatusRsp::GetOutputStatusRsp(const WireReader& request, ConnectionContext& context)
    : Pooled(request, wireLayout::rspId::getOutputStatus)
{
    namespace req = wireLayout::getOutputStatusReq;
    namespace rsp = wireLayout::getOutputStatusRsp;
    const std::uint32_t format = request.hostWordAt(req::format);
    const Range range{.level = request.hostWordAt(req::level),
                      .firstOutput = request.hostWordAt(req::firstOutput),
                      .count = context.limitCount(request.hostWordAt(wireLayout::header::msgId),
                                                  request.hostWordAt(req::count), rsp::maxEntries(format))};
    setLength(rsp::length(format, range.count));
    setWord(rsp::format, format);
    setWord(rsp::level, range.level);
    setWord(rsp::firstOutput, range.firstOutput);
    setWord(rsp::count, range.count);
    if (format == rsp::shortFormat)
    {
        writeEntries<OutputSource>(rsp::entries, range);
    }
    else
    {
        writeEntries<OutputStatus>(rsp::entries, range);
    }
}

std::unique_ptr<Rsp> GetOutputStatusCmd::createRsp()
{
    return std::make_unique<GetOutputStatusRsp>(request(), context());
}

GetOutputChangesRsp::GetOutputChangesRsp(const WireReader& request, std::uint32_t connectionId)
    : Pooled(request, wireLayout::rspId::getOutputChanges)
{
    namespace req = wireLayout::getOutputChangesReq;
    namespace rsp = wireLayout::getOutputChangesRsp;
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
    namespace rsp = wireLayout::getOutputChangesRsp;
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

std::unique_ptr<Rsp> GetOutputChangesCmd::createRsp()
{
    return std::make_unique<GetOutputChangesRsp>(request(), context().connectionId());
}
