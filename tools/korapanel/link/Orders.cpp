#include "tools/korapanel/link/Orders.h"

#include "koraclient/ResultText.h"
#include "koraclient/SendInParts.h"
#include "koracommand/ResultCode.h"

#include <utility>

namespace korapanel
{
namespace
{

using koraclient::EntryOutcome;
using koraclient::KoraClient;
using koraclient::LprEntry;
using koraclient::OutputRow;
using koraclient::TakeEntry;
using koractl::RestoreStep;

std::optional<std::uint32_t> codeOf(const EntryOutcome& outcome)
{
    return outcome.isAnswered() ? std::optional(outcome.result) : std::nullopt;
}

std::string textOf(const TakeEntry& entry, const EntryOutcome& outcome, std::optional<std::uint32_t> holder)
{
    return outcome.isAnswered()
               ? koraclient::takeResultText(outcome.result, entry.level, entry.input, entry.output, holder)
               : outcome.missingText();
}

std::string textOf(const LprEntry& entry, const EntryOutcome& outcome, std::optional<std::uint32_t> holder)
{
    return outcome.isAnswered() ? koraclient::lprResultText(outcome.result, entry.level, entry.output, holder)
                                : outcome.missingText();
}

std::optional<std::uint32_t> inputOf(const TakeEntry& entry)
{
    return entry.input;
}

std::optional<std::uint32_t> inputOf(const LprEntry& /*entry*/)
{
    return std::nullopt;
}

/// What became of each entry, in the bridge's own words; who holds an output is asked for where that is the reason.
template <typename Entry>
OrderOutcome outcomeOf(KoraClient& client, const std::vector<Entry>& entries, const koraclient::PartsOutcome& sent)
{
    koraclient::HolderLookup holders(client);
    OrderOutcome all{.results = {}, .trouble = sent.trouble};
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        const Entry& entry = entries[i];
        const EntryOutcome& outcome = sent.outcomes[i];
        const auto holder =
            all.trouble ? std::nullopt : holders.ask(entry.level, entry.output, codeOf(outcome).value_or(0));
        all.results.push_back({.level = entry.level,
                               .output = entry.output,
                               .input = inputOf(entry),
                               .code = codeOf(outcome),
                               .text = textOf(entry, outcome, holder)});
    }
    return all;
}

/// The bridge's own words for the first part of a step that was not done.
OrderResult resultOf(const RestoreStep& step)
{
    OrderResult result{.level = step.wish.level, .output = step.wish.output, .input = {}, .code = {}, .text = {}};
    if (step.wish.route)
    {
        result.input = step.wish.route->input;
    }
    const auto note = [&result](const EntryOutcome& outcome, std::string text) {
        const bool isSettled = !result.text.empty() && result.code != std::optional<std::uint32_t>(resultCode::done);
        if (!isSettled)
        {
            result.code = codeOf(outcome);
            result.text = std::move(text);
        }
    };
    if (step.release.entry)
    {
        note(step.release.outcome, textOf(*step.release.entry, step.release.outcome, std::nullopt));
    }
    if (step.take.entry)
    {
        note(step.take.outcome, textOf(*step.take.entry, step.take.outcome, std::nullopt));
    }
    if (step.hold.entry)
    {
        note(step.hold.outcome, textOf(*step.hold.entry, step.hold.outcome, std::nullopt));
    }
    if (!step.obstacle.empty() &&
        (result.text.empty() || result.code == std::optional<std::uint32_t>(resultCode::done)))
    {
        result.code = std::nullopt; // that part was not sent
        result.text = step.obstacle;
    }
    return result;
}

/// The output as it is; result 4 or 5 when the bridge does not have it.
OutputRow rowOf(const std::map<std::uint32_t, koraclient::LevelSnapshot>& levels, std::uint32_t level,
                std::uint32_t output)
{
    const auto known = levels.find(level);
    if (known == levels.end())
    {
        return OutputRow{.output = output, .result = resultCode::noSuchLevel, .lpr = std::nullopt};
    }
    const auto row = known->second.find(output);
    return row != known->second.end()
               ? row->second
               : OutputRow{.output = output, .result = resultCode::esfInvalidDst, .lpr = std::nullopt};
}

} // namespace

OrderOutcome sendTakes(KoraClient& client, const std::vector<TakeEntry>& entries, bool isCoherent)
{
    return outcomeOf(client, entries, koraclient::sendInParts(entries, [&](const auto& part) {
                         return isCoherent ? client.coherentTake(part) : client.take(part);
                     }));
}

OrderOutcome sendLocks(KoraClient& client, const std::vector<LprEntry>& entries)
{
    return outcomeOf(client, entries, koraclient::sendInParts(entries, [&](const auto& part) {
                         return client.setOutputLpr(part).results;
                     }));
}

OrderOutcome sendSalvo(KoraClient& client, std::vector<RestoreStep> steps)
{
    OrderOutcome all{.results = {}, .trouble = koractl::sendRestore(client, steps)};
    for (const RestoreStep& step : steps)
    {
        all.results.push_back(resultOf(step));
    }
    return all;
}

std::vector<RestoreStep> planSalvo(const std::vector<koractl::OutputWish>& wishes,
                                   const std::map<std::uint32_t, koraclient::LevelSnapshot>& levels,
                                   std::uint32_t lprId)
{
    std::vector<RestoreStep> steps;
    for (const koractl::OutputWish& wish : wishes)
    {
        if (auto step =
                koractl::planRestore(wish, rowOf(levels, wish.level, wish.output), {.lprId = lprId, .isForced = false}))
        {
            steps.push_back(std::move(*step));
        }
    }
    return steps;
}

} // namespace korapanel
