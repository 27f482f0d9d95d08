#include "tools/korasim/RouterCore.h"

#include "bustypes/TopicNames.h"
#include "tools/korasim/DelayedSender.h"

#include <utility>

namespace korasim
{

using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicName;

namespace
{

/// The ranges of a member: everything from crosspoint 1 on.
RouterWriters::RouterMemberMacroXpts rangesOf(std::uint16_t memberIndex, const MatrixSize& size)
{
    return {.memberIndex = memberIndex,
            .macroXptInputStart = 1,
            .numMacroXptInputs = size.inputs,
            .macroXptOutputStart = 1,
            .numMacroXptOutputs = size.outputs};
}

} // namespace

RouterCore::RouterCore(RouterOptions options, Observers observers,
                       const std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent>& apartment,
                       DelayedSender& delayed)
    : m_options(std::move(options)), m_observers(std::move(observers)), m_delayed(delayed),
      m_videoTargets(
          apartment, topicName(TopicName::MacroXptOutputVideoTarget),
          [this](const MacroXptOutput& target) { onTarget(Signal::Video, target); },
          [this](const MacroXptOutput& target, Liveness liveness) { onTargetGone(Signal::Video, target, liveness); }),
      m_audioTargets(
          apartment, topicName(TopicName::MacroXptOutputAudioTarget),
          [this](const MacroXptOutput& target) { onTarget(Signal::Audio, target); },
          [this](const MacroXptOutput& target, Liveness liveness) { onTargetGone(Signal::Audio, target, liveness); }),
      m_components(
          apartment, topicName(TopicName::ComponentInfoKoraBridge),
          [this](const ComponentInfo& component) { onComponent(component, Liveness::Alive); },
          [this](const ComponentInfo& component, Liveness liveness) { onComponent(component, liveness); })
{
    for (const Signal signal : {Signal::Video, Signal::Audio})
    {
        of(signal).ranges[m_options.memberIndex] = rangesOf(m_options.memberIndex, m_options.size(signal));
    }
    for (const auto& level : m_options.levels)
    {
        m_levels[level.levelId] = level;
    }
    m_components.joinRouterPartition("");
    joinSubs();
}

void RouterCore::announce()
{
    writeEverything();
    writeMember();
    for (const Signal signal : {Signal::Video, Signal::Audio})
    {
        const auto unconfirmed = std::exchange(of(signal).unconfirmed, {});
        for (const auto& [output, target] : unconfirmed)
        {
            confirm(signal, target);
        }
    }
}

void RouterCore::reAnnounce(const std::optional<std::string>& partition)
{
    if (partition && *partition != m_options.partition)
    {
        m_options.partition = *partition;
        writers().moveTo(m_options.partition);
        joinSubs();
        writeEverything();
    }
    writeMember();
}

void RouterCore::disposeMember()
{
    writers().member().dispose(
        {.frameId = m_options.frameId, .routerPartition = m_options.partition, .memberIndex = m_options.memberIndex});
}

void RouterCore::publishRanges(Signal signal, const RouterMemberMacroXpts& ranges)
{
    of(signal).ranges[ranges.memberIndex] = ranges;
    writers().ranges(signal).write(ranges);
}

void RouterCore::disposeRanges(Signal signal, std::uint16_t memberIndex)
{
    of(signal).ranges.erase(memberIndex);
    writers().ranges(signal).dispose({.memberIndex = memberIndex});
}

void RouterCore::publishLevel(const MacroLevel& level)
{
    m_levels[level.levelId] = level;
    writers().level().write(level);
}

void RouterCore::disposeLevel(std::uint16_t levelId)
{
    m_levels.erase(levelId);
    writers().level().dispose({.levelId = levelId});
}

void RouterCore::setStatus(Signal signal, const MacroXptOutput& status)
{
    of(signal).status[status.macroXptOutput] = status;
    writers().status(signal).write(status);
    for (const auto& observer : m_observers)
    {
        observer->onStatus(signal, status);
    }
}

void RouterCore::disposeStatus(Signal signal, std::uint32_t output)
{
    of(signal).status.erase(output);
    writers().status(signal).dispose({.macroXptOutput = output});
}

void RouterCore::localTarget(Signal signal, const MacroXptOutput& target)
{
    writers().localTarget(signal).write(target);
}

void RouterCore::setRefused(Signal signal, std::uint32_t output, bool isRefused)
{
    if (isRefused)
    {
        m_options.refused.emplace(signal, output);
    }
    else
    {
        m_options.refused.erase({signal, output});
    }
}

std::vector<RouterCore::MacroXptOutput> RouterCore::currentStatus(Signal signal) const
{
    std::vector<MacroXptOutput> all;
    for (const auto& [output, status] : of(signal).status)
    {
        all.push_back(status);
    }
    return all;
}

std::optional<RouterCore::MacroXptOutput> RouterCore::lastTarget(Signal signal, std::uint32_t output) const
{
    const auto& targets = of(signal).targets;
    const auto found = targets.find(output);
    return found == targets.end() ? std::nullopt : std::optional(found->second);
}

RouterWriters& RouterCore::writers()
{
    if (m_writers == nullptr)
    {
        m_writers = std::make_unique<RouterWriters>(m_options.partition);
    }
    return *m_writers;
}

void RouterCore::writeMember()
{
    writers().member().write(
        {.frameId = m_options.frameId, .routerPartition = m_options.partition, .memberIndex = m_options.memberIndex});
}

void RouterCore::writeEverything()
{
    for (const Signal signal : {Signal::Video, Signal::Audio})
    {
        for (const auto& [index, ranges] : of(signal).ranges)
        {
            writers().ranges(signal).write(ranges);
        }
        for (const auto& [output, status] : of(signal).status)
        {
            writers().status(signal).write(status);
        }
    }
    for (const auto& [id, level] : m_levels)
    {
        writers().level().write(level);
    }
}

void RouterCore::joinSubs()
{
    m_videoTargets.joinRouterPartition(m_options.partition);
    m_audioTargets.joinRouterPartition(m_options.partition);
}

void RouterCore::onTarget(Signal signal, const MacroXptOutput& target)
{
    of(signal).targets[target.macroXptOutput] = target;
    const bool isRefused = m_options.refused.contains({signal, target.macroXptOutput});
    for (const auto& observer : m_observers)
    {
        observer->onTarget(signal, target, isRefused);
    }
    if (isRefused || !m_isFollowing)
    {
        return;
    }
    if (m_options.statusDelay == std::chrono::milliseconds::zero())
    {
        confirm(signal, target);
        return;
    }
    m_delayed.send(std::make_unique<FunctionEvent>([this, signal, target] { confirm(signal, target); }),
                   m_options.statusDelay);
}

void RouterCore::confirm(Signal signal, const MacroXptOutput& target)
{
    if (m_writers == nullptr)
    {
        of(signal).unconfirmed[target.macroXptOutput] = target;
        return;
    }
    setStatus(signal, target);
}

void RouterCore::onTargetGone(Signal signal, const MacroXptOutput& target, Liveness liveness)
{
    for (const auto& observer : m_observers)
    {
        observer->onTargetGone(signal, target.macroXptOutput, liveness);
    }
}

void RouterCore::onComponent(const ComponentInfo& component, Liveness liveness)
{
    for (const auto& observer : m_observers)
    {
        observer->onComponent(component, liveness);
    }
}

} // namespace korasim
