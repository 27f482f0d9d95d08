#pragma once

#include <cstdint>

namespace koraclient
{

/// What became of one entry of a list that may need several messages. Plain value; made from a result code where the
/// bridge answered.
struct EntryOutcome
{
    enum class Kind
    {
        answered,
        unanswered, ///< sent, but no answer came: it may have been done
        unsent,
    };

    EntryOutcome() = default;
    EntryOutcome(std::uint32_t code) : kind(Kind::answered), result(code) {}
    static EntryOutcome unanswered() { return EntryOutcome(Kind::unanswered); }

    bool isAnswered() const { return kind == Kind::answered; }
    bool isDone() const { return isAnswered() && result == 0; }
    /// Why an entry has no result code; empty where it has one.
    const char* missingText() const
    {
        return isAnswered() ? "" : kind == Kind::unsent ? "not sent" : "no answer; it may have been done";
    }

    Kind kind = Kind::unsent;
    std::uint32_t result = 0; ///< only where answered

private:
    explicit EntryOutcome(Kind what) : kind(what) {}
};

} // namespace koraclient
