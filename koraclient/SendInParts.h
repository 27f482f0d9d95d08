#pragma once

#include "koraclient/Errors.h"
#include "koracommand/WireLayout.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <vector>

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

/// What became of a list of entries, one outcome each in their order; `trouble` is what stopped the sending, if
/// anything did.
struct PartsOutcome
{
    std::vector<EntryOutcome> outcomes;
    std::exception_ptr trouble;
};

/// Sends entries in as many messages as they need, in order. `send(part)` returns one result code an entry. When it
/// throws a KoraError, what was answered before is kept.
template <class Entry, class Send>
PartsOutcome sendInParts(const std::vector<Entry>& entries, Send send)
{
    constexpr std::size_t perMessage = wireLayout::entryListReq::maxEntries;
    PartsOutcome all{.outcomes = std::vector<EntryOutcome>(entries.size()), .trouble = nullptr};
    for (std::size_t at = 0; at < entries.size(); at += perMessage)
    {
        const std::size_t end = std::min(at + perMessage, entries.size());
        const auto part = std::vector<Entry>(entries.begin() + static_cast<std::ptrdiff_t>(at),
                                             entries.begin() + static_cast<std::ptrdiff_t>(end));
        try
        {
            const std::vector<std::uint32_t> results = send(part);
            std::copy(results.begin(), results.end(), all.outcomes.begin() + static_cast<std::ptrdiff_t>(at));
        }
        catch (const KoraError&)
        {
            std::fill(all.outcomes.begin() + static_cast<std::ptrdiff_t>(at),
                      all.outcomes.begin() + static_cast<std::ptrdiff_t>(end), EntryOutcome::unanswered());
            all.trouble = std::current_exception();
            break;
        }
    }
    return all;
}

} // namespace koraclient
