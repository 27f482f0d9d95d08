#pragma once

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

} // namespace com::tallowcrest::apartment
