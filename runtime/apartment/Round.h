#pragma once

#include "runtime/apartment/DoItEvent.h"

#include <array>
#include <cstddef>
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
    /// After its last event, before what the events have put off is done.
    virtual void end() noexcept = 0;
};

/// Events that an apartment runs one directly after the other: a single one, or brief ones that were waiting together.
/// What they send off, they send off once for all of them when the round ends: first the bracket ends, then what they
/// put off runs, in order. So whoever is answered at the end knows that all effects of the answered event are out.
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

    /// An event is about to run: begins a round if none is under way.
    void enter() noexcept;
    bool isFull() const { return m_numEvents >= maxEvents; }
    /// Nothing when no round is under way.
    void end() noexcept;

    /// Runs `event` when the round ends; an exception is logged. When no more fits, the round ends and begins anew.
    void putOff(std::unique_ptr<DoItEvent> event) noexcept;
    /// Whether anything that had been put off has run since the last call.
    bool takeHasDelivered() noexcept { return std::exchange(m_hasDelivered, false); }

private:
    const std::shared_ptr<RoundBracket> m_bracket;
    std::size_t m_numEvents = 0; ///< 0 while no round is under way
    std::array<std::unique_ptr<DoItEvent>, maxEvents> m_putOff;
    std::size_t m_numPutOff = 0;
    bool m_hasDelivered = false;
};

} // namespace com::tallowcrest::apartment
