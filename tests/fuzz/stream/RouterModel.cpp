#include "tests/fuzz/stream/RouterModel.h"

#include <algorithm>

namespace fuzz
{

namespace
{

constexpr std::uint32_t released = 0;
constexpr std::uint32_t protectedState = 1;
constexpr std::uint32_t locked = 2;

constexpr std::uint32_t done = 0;
constexpr std::uint32_t invalidSource = 3;
constexpr std::uint32_t invalidDestination = 4;
constexpr std::uint32_t noLevel = 5;
constexpr std::uint32_t isLocked = 12;
constexpr std::uint32_t isProtected = 13;

constexpr std::size_t greatestMessage = 8192;

std::uint32_t wordOf(const RouterModel::Words& words, std::size_t offset)
{
    return offset / 4 < words.size() ? words[offset / 4] : 0;
}

/// A lock state's number on the link.
std::uint32_t linkState(std::uint32_t busState)
{
    return busState == locked ? 1 : busState == protectedState ? 2 : 0;
}

/// Header, tag and payload.
RouterModel::Words response(const RouterModel::Words& request, std::uint32_t id, const RouterModel::Words& payload)
{
    RouterModel::Words words{12, 0, static_cast<std::uint32_t>((payload.size() + 5) * 4), id, wordOf(request, 4)};
    words.insert(words.end(), payload.begin(), payload.end());
    return words;
}

/// How many levels or router members there may be.
constexpr std::size_t mostOfThem = 256;

/// Whether a sample with that number is read: the first ones since the join are.
bool isRead(std::set<std::uint16_t>& numbers, std::uint16_t number)
{
    if (numbers.size() < mostOfThem)
    {
        numbers.insert(number);
    }
    return numbers.contains(number);
}

/// Whether the last number of a block can be said.
bool isBlock(std::uint64_t start, std::uint64_t count)
{
    return start + count <= 0x100000000;
}

} // namespace

void RouterModel::join(const std::string& partition)
{
    m_partition = partition;
    m_levelIds.clear();
    m_video.memberIndexes.clear();
    m_audio.memberIndexes.clear();
    if (partition.empty())
    {
        m_audioLevels.clear();
        m_videoLevels.clear();
        return;
    }
    for (ModelSignal* const signal : {&m_audio, &m_video})
    {
        const auto history = signal->history["com:tallowcrest:routing:" + partition];
        for (auto [output, target] : history)
        {
            target.when = m_when;
            signal->targets[output] = target;
            write(*signal, target);
        }
    }
}

bool RouterModel::hasRoomFor(const Level& level) const
{
    std::size_t levels = 1;
    std::size_t outputs = level.numMacroXptOutputs;
    for (const auto* const others : {&m_audioLevels, &m_videoLevels})
    {
        for (const auto& [number, other] : *others)
        {
            const bool isReplaced = number == level.levelId && other.isVideo() == (level.levelSignalType == 0);
            levels += isReplaced ? 0 : 1;
            outputs += isReplaced ? 0 : other.numOutputs();
        }
    }
    return levels <= mostOfThem && outputs <= 4 * 73728;
}

void RouterModel::onLevel(const Level& level)
{
    const bool areBlocks = isBlock(level.macroXptInputStart, level.numMacroXptInputs) &&
                           isBlock(level.controllerInputStart, level.numMacroXptInputs) &&
                           isBlock(level.macroXptOutputStart, level.numMacroXptOutputs) &&
                           isBlock(level.controllerOutputStart, level.numMacroXptOutputs);
    if (!isRead(m_levelIds, level.levelId) || level.levelSignalType > 1 || level.numMacroXptOutputs == 0 ||
        level.numMacroXptOutputs > 73728 || !areBlocks || !hasRoomFor(level))
    {
        return;
    }
    auto& levels = level.levelSignalType == 0 ? m_videoLevels : m_audioLevels;
    levels.insert_or_assign(level.levelId, ModelLevel(level));
}

void RouterModel::onMember(Signal signal, const Member& member, bool isValid)
{
    auto& members = of(signal).members;
    if (!isValid)
    {
        members.erase(member.memberIndex);
        return;
    }
    const bool hasRoom = members.size() < mostOfThem || members.contains(member.memberIndex);
    if (isRead(of(signal).memberIndexes, member.memberIndex) && hasRoom &&
        isBlock(member.macroXptInputStart, member.numMacroXptInputs) &&
        isBlock(member.macroXptOutputStart, member.numMacroXptOutputs))
    {
        members[member.memberIndex] = member;
    }
}

void RouterModel::onStatus(Signal signal, const Output& status, bool isValid)
{
    auto& statuses = of(signal).statuses;
    if (status.macroXptOutput >= statuses.size())
    {
        return;
    }
    Output& kept = statuses[status.macroXptOutput];
    const bool isChanged =
        status.macroXptInput != kept.macroXptInput || status.lprId != kept.lprId || status.lprState != kept.lprState;
    if (isChanged || !isValid)
    {
        noteChange(signal, status.macroXptOutput);
    }
    kept = isValid ? status : Output{.macroXptOutput = status.macroXptOutput, .macroXptInput = ModelSignal::none};
}

void RouterModel::onLocalTarget(Signal signal, const Output& target)
{
    ModelSignal& changed = of(signal);
    if (target.macroXptOutput > changed.greatestNumber)
    {
        return;
    }
    Output& kept = changed.targets[target.macroXptOutput];
    if (kept.macroXptInput > changed.greatestNumber)
    {
        kept = target;
        kept.when = m_when;
    }
    write(changed, kept);
}

void RouterModel::onConnection(std::uint32_t connection)
{
    for (auto* const levels : {&m_audioLevels, &m_videoLevels})
    {
        for (auto& [number, level] : *levels)
        {
            level.noteConnection(connection);
        }
    }
}

ModelLevel* RouterModel::find(std::uint32_t number)
{
    for (auto* const levels : {&m_audioLevels, &m_videoLevels})
    {
        if (const auto found = levels->find(number); found != levels->end())
        {
            return &found->second;
        }
    }
    return nullptr;
}

void RouterModel::noteChange(Signal signal, std::uint32_t xpt)
{
    for (auto& [number, level] : signal == Signal::Video ? m_videoLevels : m_audioLevels)
    {
        level.noteChange(xpt);
    }
}

void RouterModel::write(ModelSignal& signal, const Output& sample)
{
    const std::string partition = "com:tallowcrest:routing:" + m_partition;
    signal.history[partition][sample.macroXptOutput] = sample;
    m_writes.push_back({signal.targetTopic, partition, sample});
}

std::uint32_t RouterModel::take(std::uint32_t level, std::uint32_t lprId, std::uint32_t input, std::uint32_t output)
{
    const ModelLevel* const found = find(level);
    if (found == nullptr)
    {
        return noLevel;
    }
    ModelSignal& signal = of(*found);
    const auto inputXpt = found->inputXpt(input);
    const auto outputXpt = found->outputXpt(output);
    if (!inputXpt)
    {
        return invalidSource;
    }
    if (!outputXpt)
    {
        return invalidDestination;
    }
    if (*inputXpt > signal.greatestNumber || !signal.offersInput(*inputXpt))
    {
        return invalidSource;
    }
    if (!signal.hasOutput(*outputXpt))
    {
        return invalidDestination;
    }
    Output& target = signal.targets[*outputXpt];
    if (target.lprState == locked)
    {
        return isLocked;
    }
    if (target.lprState == protectedState && lprId != 0 && lprId != target.lprId)
    {
        return isProtected;
    }
    if (!m_partition.empty())
    {
        target.macroXptInput = *inputXpt;
        target.lprId = lprId;
        target.when = m_when;
        write(signal, target);
    }
    return done;
}

std::uint32_t RouterModel::setLpr(std::uint32_t level, std::uint32_t output, std::uint32_t command, std::uint32_t lprId)
{
    const ModelLevel* const found = find(level);
    if (found == nullptr)
    {
        return noLevel;
    }
    ModelSignal& signal = of(*found);
    const auto outputXpt = found->outputXpt(output);
    if (!outputXpt || !signal.hasOutput(*outputXpt))
    {
        return invalidDestination;
    }
    Output& target = signal.targets[*outputXpt];
    if (command != 16 && lprId != 0 && lprId != target.lprId)
    {
        if (target.lprState == locked)
        {
            return isLocked;
        }
        if (target.lprState == protectedState)
        {
            return isProtected;
        }
    }
    target.lprId = lprId;
    target.lprState = static_cast<com::tallowcrest::dds_::routing::LPRState>(command == 1   ? locked
                                                                             : command == 2 ? protectedState
                                                                                            : released);
    target.when = m_when;
    if (!m_partition.empty())
    {
        write(signal, target);
    }
    return done;
}

RouterModel::Status RouterModel::status(std::uint32_t level, std::uint32_t output)
{
    const ModelLevel* const found = find(level);
    if (found == nullptr)
    {
        return {.result = noLevel};
    }
    const auto& statuses = of(*found).statuses;
    const auto xpt = found->outputXpt(output);
    if (!xpt || *xpt >= statuses.size())
    {
        return {.result = invalidDestination};
    }
    const Output& kept = statuses[*xpt];
    Status status{.lprState = linkState(kept.lprState), .lprId = kept.lprId};
    const auto input = found->controllerInput(kept.macroXptInput);
    status.result = input ? done : invalidSource;
    status.input = input.value_or(0);
    return status;
}

RouterModel::Words RouterModel::answerEntries(const Words& request, bool isTake)
{
    const std::size_t held = (std::max<std::size_t>(request.size() * 4, 20) - 20) / 16;
    const std::size_t count = std::min<std::size_t>(wordOf(request, 16), held);
    Words results;
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::size_t at = 20 + 16 * i;
        const auto word = [&](std::size_t offset) { return wordOf(request, at + offset); };
        results.push_back(isTake ? take(word(0), word(4), word(8), word(12))
                                 : setLpr(word(0), word(4), word(8), word(12)));
    }
    const bool allDone = std::all_of(results.begin(), results.end(), [](auto result) { return result == done; });
    results.insert(results.begin(), static_cast<std::uint32_t>(count));
    if (isTake)
    {
        return response(request, 0x80000050, results);
    }
    results.insert(results.begin(), allDone ? 0 : 0x80);
    return response(request, 0x80000002, results);
}

RouterModel::Words RouterModel::answerTally(const Words& request)
{
    const auto count =
        static_cast<std::uint32_t>(std::min<std::size_t>(wordOf(request, 24), (greatestMessage - 32) / 8));
    Words payload{wordOf(request, 16), wordOf(request, 20), count};
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const Status entry = status(wordOf(request, 16), wordOf(request, 20) + i);
        payload.insert(payload.end(), {entry.result, entry.input});
    }
    return response(request, 0x8000005e, payload);
}

RouterModel::Words RouterModel::answerStatus(const Words& request)
{
    const bool isShort = wordOf(request, 16) == 1;
    const auto count = static_cast<std::uint32_t>(
        std::min<std::size_t>(wordOf(request, 28), (greatestMessage - 36) / (isShort ? 8 : 16)));
    Words payload{wordOf(request, 16), wordOf(request, 20), wordOf(request, 24), count};
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const Status entry = status(wordOf(request, 20), wordOf(request, 24) + i);
        payload.insert(payload.end(), {entry.result, entry.input});
        if (!isShort)
        {
            payload.insert(payload.end(), {entry.lprState, entry.lprId});
        }
    }
    return response(request, 0x80000052, payload);
}

RouterModel::Words RouterModel::answerChanges(const Words& request, std::uint32_t connection)
{
    const bool isShort = wordOf(request, 16) == 1;
    const std::uint32_t number = wordOf(request, 20);
    const std::size_t limit = isShort ? 679 : 64;
    ModelLevel* const level = find(number);
    const Words outputs = level != nullptr ? level->takeChanges(connection, limit) : Words{};

    Words payload{wordOf(request, 16), number, static_cast<std::uint32_t>(outputs.size()),
                  outputs.size() == limit ? 1U : 0U};
    for (const std::uint32_t output : outputs)
    {
        const Status entry = status(number, output);
        payload.insert(payload.end(), {entry.result, output, entry.input});
        if (!isShort)
        {
            payload.insert(payload.end(), {entry.lprState, entry.lprId});
        }
    }
    return response(request, 0x80000053, payload);
}

RouterModel::Words RouterModel::answerSystemStatus(const Words& request) const
{
    switch (wordOf(request, 16))
    {
    case 0:
        return response(request, 0x80005000, {0, 103, 177, 1, 0, 0, 0, 1, 0, 1, 0, 0});
    case 2:
        return response(request, 0x80005000, {2, 103, 103, 177, 1, 0, 1, 1, 0, 1, m_seconds, 0, 0, 0, 0, 0, 0});
    case 6:
        return response(request, 0x80005000,
                        {6, 103, 103, 177, 1, 0, 1, 1, 0, 1, 0, 0, 0, m_seconds, 0, 0, 0, 0, 0, 0, 0, 0, 1, 65535});
    default:
        return response(request, 0x80005000,
                        {4, 103, 103, 177, 1, 0, 1, 1, 0, 1, 0, 0, 0, m_seconds, 0, 0, 0, 0, 0, 0, 0, 1, 65535});
    }
}

RouterModel::Words RouterModel::answer(const Words& request, std::uint32_t connection)
{
    switch (wordOf(request, 12))
    {
    case 0x50:
    case 0x55:
        return answerEntries(request, true);
    case 0x51:
        return answerEntries(request, false);
    case 0x52:
        return answerStatus(request);
    case 0x53:
        return answerChanges(request, connection);
    case 0x59:
        return response(request, 0x80000059, {2, 1, 9, 1, 288, 1, 1, 288, 1, 2, 7, 1, 2304, 1, 1, 2304, 1});
    case 0x5e:
        return answerTally(request);
    case 0xa2:
        return response(request, 0x800000a2, {wordOf(request, 16), 0, 1, 0, 0});
    case 0x4000:
        return response(request, 0x80004000, {0});
    case 0x5000:
        return answerSystemStatus(request);
    default:
        return response(request, 0x80000000, {8});
    }
}

} // namespace fuzz
