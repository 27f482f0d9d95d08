#pragma once

#include "runtime/apartment/DoItEvent.h"

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

namespace com::tallowcrest::apartment
{

/// What is to be done around each round of an apartment's events. Called on the apartment's thread, always in pairs.
class RoundBracket
{
public:
    RoundBracket() = default;
    virtual ~RoundBracket() = default;
    RoundBracket(const RoundBracket&) = delete;
    RoundBracket& operator=(const RoundBracket&) = delete;

    /// Before the first event of a round.
    virtual void begin() noexcept = 0;
    /// After its last event, before anybody hears of it.
    virtual void end() noexcept = 0;
};

/// Events that an apartment runs one directly after the other: a single one, or brief ones that were waiting together.
/// What they send off, they send off once for all of them when the round ends: first the bracket ends, then the second
/// half of each event runs and the event is deleted, in order. So whoever is answered at the end knows that all effects
/// of the answered event are out.
///
/// Owned by the apartment and bound to its thread. Never allocates.
class Round
{
public:
    /// No round has more events.
    static constexpr std::size_t maxEvents = 32;

    /// `bracket` may be null.
    explicit Round(std::shared_ptr<RoundBracket> bracket);
    /// Ends the round.
    ~Round();
    Round(const Round&) = delete;
    Round& operator=(const Round&) = delete;

    /// The round that is under way on the calling thread; null when there is none.
    static Round* current();

    /// Runs a piece of work that is no event: begins a round if none is under way.
    void run(const std::function<void()>& call) noexcept;
    /// The same with an event, which it keeps until the round ends. Not when the round is full.
    void run(std::unique_ptr<DoItEvent> event) noexcept;
    bool isUnderWay() const { return m_isUnderWay; }
    bool isFull() const { return m_numEvents == maxEvents; }
    /// Nothing when no round is under way.
    void end() noexcept;

    /// Whether anybody who waited for an event has been answered since the last call.
    bool takeHasAnswered() noexcept { return std::exchange(m_hasAnswered, false); }

private:
    void enter() noexcept;

    const std::shared_ptr<RoundBracket> m_bracket;
    bool m_isUnderWay = false;
    std::array<std::unique_ptr<DoItEvent>, maxEvents> m_events; ///< those that have run
    std::size_t m_numEvents = 0;
    bool m_hasAnswered = false;
};

} // namespace com::tallowcrest::apartment
