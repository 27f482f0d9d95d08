#include "tests/support/RouterRecord.h"

namespace testsupport
{

using korasim::Liveness;
using korasim::Signal;

void RouterRecord::onTarget(Signal signal, const MacroXptOutput& target, bool)
{
    const std::lock_guard lock(m_mutex);
    auto& record = of(signal);
    record.targets.push_back(target);
    record.lastTargets[target.macroXptOutput] = target;
    record.gone.erase(target.macroXptOutput);
    m_changed.notify_all();
}

void RouterRecord::onTargetGone(Signal signal, std::uint32_t output, Liveness liveness)
{
    const std::lock_guard lock(m_mutex);
    of(signal).gone[output] = liveness;
    m_changed.notify_all();
}

void RouterRecord::onStatus(Signal signal, const MacroXptOutput& status)
{
    const std::lock_guard lock(m_mutex);
    of(signal).statuses.push_back(status);
    m_changed.notify_all();
}

void RouterRecord::onComponent(const ComponentInfo& component, Liveness liveness)
{
    const std::lock_guard lock(m_mutex);
    auto& record = m_components[{component.frameId, component.componentId}];
    if (liveness == Liveness::Alive)
    {
        record.info = component;
    }
    record.liveness = liveness;
    m_changed.notify_all();
}

std::vector<RouterRecord::MacroXptOutput> RouterRecord::targets(Signal signal) const
{
    const std::lock_guard lock(m_mutex);
    return of(signal).targets;
}

std::size_t RouterRecord::targetCount(Signal signal) const
{
    const std::lock_guard lock(m_mutex);
    return of(signal).targets.size();
}

std::optional<RouterRecord::MacroXptOutput> RouterRecord::lastTarget(Signal signal, std::uint32_t output) const
{
    return waitForTarget(signal, output, std::chrono::milliseconds(0));
}

std::vector<RouterRecord::MacroXptOutput> RouterRecord::statuses(Signal signal) const
{
    const std::lock_guard lock(m_mutex);
    return of(signal).statuses;
}

std::optional<Liveness> RouterRecord::targetGone(Signal signal, std::uint32_t output) const
{
    const std::lock_guard lock(m_mutex);
    const auto& gone = of(signal).gone;
    const auto found = gone.find(output);
    return found == gone.end() ? std::nullopt : std::optional(found->second);
}

std::optional<RouterRecord::Component> RouterRecord::component(std::uint32_t frameId, std::uint32_t componentId) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_components.find({frameId, componentId});
    return found == m_components.end() ? std::nullopt : std::optional(found->second);
}

void RouterRecord::clear()
{
    const std::lock_guard lock(m_mutex);
    m_video = SignalRecord{};
    m_audio = SignalRecord{};
}

std::optional<RouterRecord::MacroXptOutput> RouterRecord::waitForTarget(Signal signal, std::uint32_t output,
                                                                        const TargetPredicate& predicate,
                                                                        std::chrono::milliseconds timeout) const
{
    std::optional<MacroXptOutput> reached;
    waitFor(timeout, [&] {
        const auto& targets = of(signal).lastTargets;
        const auto found = targets.find(output);
        if (found != targets.end() && predicate(found->second))
        {
            reached = found->second;
        }
        return reached.has_value();
    });
    return reached;
}

std::optional<RouterRecord::MacroXptOutput> RouterRecord::waitForTarget(Signal signal, std::uint32_t output,
                                                                        std::chrono::milliseconds timeout) const
{
    return waitForTarget(
        signal, output, [](const MacroXptOutput&) { return true; }, timeout);
}

bool RouterRecord::waitForTargetCount(Signal signal, std::size_t count, std::chrono::milliseconds timeout) const
{
    return waitFor(timeout, [&] { return of(signal).targets.size() >= count; });
}

bool RouterRecord::waitForTargetGone(Signal signal, std::uint32_t output, Liveness liveness,
                                     std::chrono::milliseconds timeout) const
{
    return waitFor(timeout, [&] {
        const auto& gone = of(signal).gone;
        const auto found = gone.find(output);
        return found != gone.end() && found->second == liveness;
    });
}

bool RouterRecord::waitForStatusCount(Signal signal, std::size_t count, std::chrono::milliseconds timeout) const
{
    return waitFor(timeout, [&] { return of(signal).statuses.size() >= count; });
}

bool RouterRecord::waitForComponent(std::uint32_t frameId, std::uint32_t componentId, Liveness liveness,
                                    std::chrono::milliseconds timeout) const
{
    return waitFor(timeout, [&] {
        const auto found = m_components.find({frameId, componentId});
        return found != m_components.end() && found->second.liveness == liveness;
    });
}

bool RouterRecord::waitFor(std::chrono::milliseconds timeout, const std::function<bool()>& isReached) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout * m_patience, isReached);
}

} // namespace testsupport
