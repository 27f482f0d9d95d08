#include "tools/common/RestorePlan.h"

#include "koraclient/ResultText.h"
#include "koraclient/SendInParts.h"
#include "koracommand/ResultCode.h"
#include "koracommand/WireLayout.h"

#include <algorithm>
#include <span>

namespace koractl
{

namespace
{

using koraclient::EntryOutcome;
using koraclient::KoraClient;
using koraclient::LprCommand;
using koraclient::LprEntry;
using koraclient::LprState;
using koraclient::OutputLpr;
using koraclient::OutputRow;
using koraclient::PartsOutcome;
using koraclient::sendInParts;
using koraclient::statusResultText;
using koraclient::TakeEntry;

bool isRouteDifferent(const OutputWish& wish, const OutputRow& before)
{
    if (!wish.route)
    {
        return false;
    }
    if (!wish.route->input)
    {
        return before.result == resultCode::done;
    }
    return before.result != resultCode::done || before.input != *wish.route->input;
}

bool isLprDifferent(const OutputWish& wish, const OutputLpr& before)
{
    return wish.lpr && (wish.lpr->state != before.state || (before.isHeld() && wish.lpr->lprId != before.lprId));
}

/// Which right there is over an output that somebody holds.
enum class Right
{
    none,
    asHolder,
    byForce,
};

Right rightOver(const OutputLpr& held, const OutputWish& wish, const RestoreRights& rights)
{
    const bool isWanted = wish.lpr && wish.lpr->isHeld() && wish.lpr->lprId == held.lprId;
    if (isWanted || held.lprId == rights.lprId)
    {
        return Right::asHolder;
    }
    return rights.isForced ? Right::byForce : Right::none;
}

LprEntry holdEntry(const OutputWish& wish, const OutputLpr& lpr)
{
    const bool isLock = lpr.state == static_cast<std::uint32_t>(LprState::locked);
    return LprEntry{.level = wish.level,
                    .output = wish.output,
                    .command = isLock ? LprCommand::lock : LprCommand::protect,
                    .lprId = lpr.lprId};
}

} // namespace

std::optional<RestoreStep> planRestore(const OutputWish& wish, const OutputRow& before, const RestoreRights& rights)
{
    RestoreStep step{.wish = wish, .before = before};
    if (before.result == resultCode::esfInvalidDst || before.result == resultCode::noSuchLevel)
    {
        step.obstacle = statusResultText(before.result, wish.level, wish.output);
        return step;
    }
    const OutputLpr now = before.lpr.value_or(OutputLpr{});
    step.isRouteDifferent = isRouteDifferent(wish, before);
    step.isLprDifferent = isLprDifferent(wish, now);
    if (!step.isRouteDifferent && !step.isLprDifferent)
    {
        return std::nullopt;
    }
    const Right right = now.isHeld() ? rightOver(now, wish, rights) : Right::asHolder;
    if (right == Right::none)
    {
        step.obstacle = "output " + std::to_string(wish.output) + " is " + now.text();
        return step;
    }
    if (step.isRouteDifferent && !wish.route->input)
    {
        step.obstacle = "a route cannot be removed";
    }
    const OutputLpr wanted = wish.lpr.value_or(now);
    const bool isTaking = step.isRouteDifferent && wish.route->input;
    const bool isLocked = now.state == static_cast<std::uint32_t>(LprState::locked);
    const bool isHolderLeaving = step.isLprDifferent && (!wanted.isHeld() || wanted.lprId != now.lprId);
    const bool isReleasing = now.isHeld() && ((isTaking && isLocked) || isHolderLeaving || right == Right::byForce);
    if (isReleasing && (isTaking || step.isLprDifferent))
    {
        step.release.entry =
            LprEntry{.level = wish.level,
                     .output = wish.output,
                     .command = right == Right::byForce ? LprCommand::forcedRelease : LprCommand::release,
                     .lprId = right == Right::byForce ? rights.lprId : now.lprId};
    }
    if (isTaking)
    {
        step.take.entry = TakeEntry{.level = wish.level,
                                    .lprId = wanted.isHeld() ? wanted.lprId : rights.lprId,
                                    .input = *wish.route->input,
                                    .output = wish.output};
    }
    if (wanted.isHeld() && (step.release.entry || step.isLprDifferent))
    {
        step.hold.entry = holdEntry(wish, wanted);
    }
    return step;
}

namespace
{

/// Sends one part of each step of a group, where the step has it.
template <class Entry, class Send>
std::exception_ptr sendPart(std::span<RestoreStep> group, RestorePart<Entry> RestoreStep::*part, Send send)
{
    std::vector<Entry> entries;
    std::vector<EntryOutcome*> outcomes;
    for (RestoreStep& step : group)
    {
        if ((step.*part).entry)
        {
            entries.push_back(*(step.*part).entry);
            outcomes.push_back(&(step.*part).outcome);
        }
    }
    const PartsOutcome sent = sendInParts(entries, send);
    for (std::size_t i = 0; i < outcomes.size(); ++i)
    {
        *outcomes[i] = sent.outcomes[i];
    }
    return sent.trouble;
}

std::exception_ptr sendGroup(KoraClient& client, std::span<RestoreStep> group)
{
    const auto setLpr = [&client](const std::vector<LprEntry>& entries) {
        return client.setOutputLpr(entries).results;
    };
    const auto take = [&client](const std::vector<TakeEntry>& entries) { return client.take(entries); };
    if (auto trouble = sendPart(group, &RestoreStep::release, setLpr))
    {
        return trouble;
    }
    if (auto trouble = sendPart(group, &RestoreStep::take, take))
    {
        return trouble;
    }
    return sendPart(group, &RestoreStep::hold, setLpr);
}

} // namespace

std::exception_ptr sendRestore(KoraClient& client, std::vector<RestoreStep>& steps)
{
    constexpr std::size_t perMessage = wireLayout::entryListReq::maxEntries;
    const std::span<RestoreStep> all(steps);
    for (std::size_t at = 0; at < all.size(); at += perMessage)
    {
        if (auto trouble = sendGroup(client, all.subspan(at, std::min(perMessage, all.size() - at))))
        {
            return trouble;
        }
    }
    return nullptr;
}

} // namespace koractl
