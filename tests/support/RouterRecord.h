#pragma once

#include "tools/korasim/SimulatedRouter.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace testsupport
{

/// Remembers all that a simulated router saw, and lets tests wait for it. Thread-safe. The bus keeps the last sample of
/// each output, so of several targets set for one output in quick succession the earlier ones may never be seen.
class RouterRecord final : public korasim::RouterObserver
{
public:
    using MacroXptOutput = com::tallowcrest::dds_::routing::MacroXptOutput;
    using ComponentInfo = com::tallowcrest::dds_::routing::ComponentInfo;
    using TargetPredicate = std::function<bool(const MacroXptOutput&)>;

    struct Component
    {
        ComponentInfo info; ///< the last data that came
        korasim::Liveness liveness = korasim::Liveness::Alive;
    };

    static constexpr std::chrono::seconds defaultTimeout{10};

    void onTarget(korasim::Signal signal, const MacroXptOutput& target, bool isRefused) override;
    void onTargetGone(korasim::Signal signal, std::uint32_t output, korasim::Liveness liveness) override;
    void onStatus(korasim::Signal signal, const MacroXptOutput& status) override;
    void onComponent(const ComponentInfo& component, korasim::Liveness liveness) override;

    /// Every target of a signal type, in the order in which they came.
    std::vector<MacroXptOutput> targets(korasim::Signal signal) const;
    std::size_t targetCount(korasim::Signal signal) const;
    /// The last target of an output, if any came.
    std::optional<MacroXptOutput> lastTarget(korasim::Signal signal, std::uint32_t output) const;
    /// Every status that the router published, in order.
    std::vector<MacroXptOutput> statuses(korasim::Signal signal) const;
    /// How an output's target went, if it did after its last sample.
    std::optional<korasim::Liveness> targetGone(korasim::Signal signal, std::uint32_t output) const;
    std::optional<Component> component(std::uint32_t frameId, std::uint32_t componentId) const;
    /// Forgets targets and status, so that a test can wait for what comes next. Component records stay.
    void clear();

    /// Makes every wait last so many times longer, for a machine that is so much slower.
    void setPatience(int factor) { m_patience = factor; }

    /// Waits until the last target of an output satisfies the predicate and returns it; nothing when time is up.
    std::optional<MacroXptOutput> waitForTarget(korasim::Signal signal, std::uint32_t output,
                                                const TargetPredicate& predicate,
                                                std::chrono::milliseconds timeout = defaultTimeout) const;
    /// Waits for any target of an output.
    std::optional<MacroXptOutput> waitForTarget(korasim::Signal signal, std::uint32_t output,
                                                std::chrono::milliseconds timeout = defaultTimeout) const;
    /// Waits until at least `count` targets came.
    bool waitForTargetCount(korasim::Signal signal, std::size_t count,
                            std::chrono::milliseconds timeout = defaultTimeout) const;
    bool waitForTargetGone(korasim::Signal signal, std::uint32_t output, korasim::Liveness liveness,
                           std::chrono::milliseconds timeout = defaultTimeout) const;
    bool waitForStatusCount(korasim::Signal signal, std::size_t count,
                            std::chrono::milliseconds timeout = defaultTimeout) const;
    bool waitForComponent(std::uint32_t frameId, std::uint32_t componentId, korasim::Liveness liveness,
                          std::chrono::milliseconds timeout = defaultTimeout) const;

private:
    struct SignalRecord
    {
        std::vector<MacroXptOutput> targets;
        std::map<std::uint32_t, MacroXptOutput> lastTargets;
        std::map<std::uint32_t, korasim::Liveness> gone;
        std::vector<MacroXptOutput> statuses;
    };

    const SignalRecord& of(korasim::Signal signal) const
    {
        return signal == korasim::Signal::Video ? m_video : m_audio;
    }
    SignalRecord& of(korasim::Signal signal) { return signal == korasim::Signal::Video ? m_video : m_audio; }
    bool waitFor(std::chrono::milliseconds timeout, const std::function<bool()>& isReached) const;

    int m_patience = 1; // set before there are threads that wait
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    SignalRecord m_video;
    SignalRecord m_audio;
    std::map<std::pair<std::uint32_t, std::uint32_t>, Component> m_components;
};

/// A simulated router with its record.
class RecordedRouter : public korasim::SimulatedRouter
{
public:
    explicit RecordedRouter(korasim::RouterOptions options,
                            std::shared_ptr<RouterRecord> record = std::make_shared<RouterRecord>())
        : SimulatedRouter(std::move(options), {record}), m_record(std::move(record))
    {}

    const RouterRecord& record() const { return *m_record; }
    RouterRecord& record() { return *m_record; }

private:
    std::shared_ptr<RouterRecord> m_record;
};

} // namespace testsupport
