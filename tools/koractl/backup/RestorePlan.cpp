#include "tools/koractl/backup/RestorePlan.h"

#include "koraclient/ResultText.h"
#include "koracommand/ResultCode.h"

namespace koractl
{
namespace
{

using koraclient::LprCommand;
using koraclient::LprEntry;
using koraclient::LprState;
using koraclient::OutputLpr;
using koraclient::OutputRow;
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

} // namespace koractl
