#include "tools/common/RestorePlan.h"

#include <gtest/gtest.h>

using namespace koraclient;
using namespace koractl;

namespace
{

constexpr OutputLpr released{0, 0};
constexpr OutputLpr lockedBy42{1, 42};
constexpr OutputLpr protectedBy42{2, 42};

OutputRow now(std::uint32_t input, OutputLpr lpr)
{
    return OutputRow{.output = 7, .result = input == 0 ? 3U : 0U, .input = input, .lpr = lpr};
}

OutputWish wish(std::optional<std::uint32_t> input, std::optional<OutputLpr> lpr)
{
    OutputWish wanted{.level = 1, .output = 7, .line = 3, .route = {}, .lpr = lpr};
    if (input)
    {
        wanted.route = OutputWish::Route{.input = *input == 0 ? std::nullopt : input};
    }
    return wanted;
}

/// What is sent, in short: `release 42, take 5 as 42, lock 42`.
std::string partsOf(const std::optional<RestoreStep>& step)
{
    if (!step)
    {
        return "same";
    }
    std::string text = step->obstacle.empty() ? "" : "(" + step->obstacle + ")";
    const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
    if (step->release.entry)
    {
        add((step->release.entry->command == LprCommand::forcedRelease ? "force " : "release ") +
            std::to_string(step->release.entry->lprId));
    }
    if (step->take.entry)
    {
        add("take " + std::to_string(step->take.entry->input) + " as " + std::to_string(step->take.entry->lprId));
    }
    if (step->hold.entry)
    {
        add((step->hold.entry->command == LprCommand::lock ? "lock " : "protect ") +
            std::to_string(step->hold.entry->lprId));
    }
    return text;
}

struct Case
{
    const char* name;
    OutputRow before;
    OutputWish wish;
    RestoreRights rights;
    const char* parts;
};

class RestorePlan : public testing::TestWithParam<Case>
{};

} // namespace

TEST_P(RestorePlan, SendsWhatIsNeeded)
{
    const Case& param = GetParam();

    EXPECT_EQ(partsOf(planRestore(param.wish, param.before, param.rights)), param.parts);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RestorePlan,
    testing::Values(
        Case{"same", now(5, released), wish(5, released), {}, "same"},
        Case{"sameLock", now(5, lockedBy42), wish(5, lockedBy42), {}, "same"},
        Case{"lastTakersIdDoesNotCount", now(5, {0, 9}), wish(5, released), {}, "same"},
        Case{"sameWithoutRoute", now(0, released), wish(0, released), {}, "same"},
        Case{"unnamedPartsAreLeft", now(5, lockedBy42), wish(5, {}), {}, "same"},
        Case{"route", now(4, released), wish(5, released), {9, false}, "take 5 as 9"},
        Case{"routeFromNone", now(0, released), wish(5, released), {}, "take 5 as 0"},
        Case{"routeOfDisagreeingOutput", {7, 25, 0, released}, wish(5, released), {}, "take 5 as 0"},
        Case{"lock", now(5, released), wish(5, lockedBy42), {}, "lock 42"},
        Case{"routeAndLock", now(4, released), wish(5, lockedBy42), {}, "take 5 as 42, lock 42"},
        Case{"routeUnderItsOwnLock", now(4, lockedBy42), wish(5, lockedBy42), {}, "release 42, take 5 as 42, lock 42"},
        Case{"routeUnderItsOwnProtection", now(4, protectedBy42), wish(5, protectedBy42), {}, "take 5 as 42"},
        Case{"protectionBecomesLock", now(5, protectedBy42), wish(5, lockedBy42), {}, "lock 42"},
        Case{"foreignLockBecomesReleased", now(5, lockedBy42), wish(5, released), {}, "(output 7 is locked by 42)"},
        Case{"foreignLockStopsRoute", now(4, lockedBy42), wish(5, {}), {}, "(output 7 is locked by 42)"},
        Case{"foreignProtectionStopsRoute",
             now(4, protectedBy42),
             wish(5, OutputLpr{1, 7}),
             {},
             "(output 7 is protected by 42)"},
        Case{"ownLockBecomesReleased", now(5, lockedBy42), wish(5, released), {42, false}, "release 42"},
        Case{
            "ownLockGoesToAnother", now(5, lockedBy42), wish(5, OutputLpr{2, 7}), {42, false}, "release 42, protect 7"},
        Case{"ownLockStaysWhenNotNamed",
             now(4, lockedBy42),
             wish(5, {}),
             {42, false},
             "release 42, take 5 as 42, lock 42"},
        Case{"forceOpensAForeignLock", now(4, lockedBy42), wish(5, released), {9, true}, "force 9, take 5 as 9"},
        Case{"forceKeepsAForeignLockThatIsNotNamed",
             now(4, lockedBy42),
             wish(5, {}),
             {9, true},
             "force 9, take 5 as 42, lock 42"},
        Case{"lockOfNobodyIsAnybodys", now(5, {1, 0}), wish(5, released), {}, "release 0"},
        Case{"routeCannotBeRemoved", now(5, released), wish(0, released), {}, "(a route cannot be removed)"},
        Case{"routeCannotBeRemovedButTheLockIsSet",
             now(5, released),
             wish(0, lockedBy42),
             {},
             "(a route cannot be removed), lock 42"},
        Case{"noSuchOutput", {7, 4, 0, {}}, wish(5, released), {}, "(output 7 is not on level 1 or not available)"},
        Case{"noSuchLevel", {7, 5, 0, {}}, wish(5, released), {}, "(level 1 does not exist)"}),
    [](const auto& each) { return each.param.name; });
