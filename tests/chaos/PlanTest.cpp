#include "tests/chaos/Plan.h"

#include <gtest/gtest.h>

#include <set>

using namespace chaos;
using namespace std::chrono_literals;

namespace
{

constexpr std::uint64_t seed = 7;
constexpr auto calm = 4s;

template <typename Act>
std::set<Act> actsOf(const std::vector<Step<Act>>& steps)
{
    std::set<Act> acts;
    for (const auto& step : steps)
    {
        acts.insert(step.act);
    }
    return acts;
}

} // namespace

TEST(PlanTest, SameSeedAndLengthGiveTheSamePlan)
{
    const Plan sut(seed, 60s, calm);

    EXPECT_EQ(sut, Plan(seed, 60s, calm));
}

TEST(PlanTest, OtherSeedGivesAnotherPlan)
{
    const Plan sut(seed, 60s, calm);

    EXPECT_FALSE(sut == Plan(seed + 1, 60s, calm));
}

TEST(PlanTest, TwoMinutesHoldEveryDisturbance)
{
    const Plan sut(seed, 120s, calm);

    EXPECT_EQ(actsOf(sut.bus()).size(), 15U);
    EXPECT_EQ(actsOf(sut.peer(0)).size(), 13U);
    EXPECT_EQ(actsOf(sut.console()).size(), 10U);
}

TEST(PlanTest, EveryInterruptionIsFollowedByABurstAndCalm)
{
    const Plan sut(seed, 120s, calm);

    const auto& steps = sut.bus();
    std::chrono::milliseconds sinceInterruption = calm;
    for (std::size_t i = 0; i < steps.size(); ++i)
    {
        sinceInterruption += steps[i].wait;
        if (interruptsBus(steps[i].act))
        {
            EXPECT_GE(sinceInterruption, calm) << "step " << i;
            ASSERT_LT(i + 1, steps.size());
            EXPECT_EQ(steps[i + 1].act, BusAct::Burst) << "step " << i;
            sinceInterruption = 0ms;
        }
    }
}

TEST(PlanTest, ShortRunsNeverStopTheRouterBeyondItsLease)
{
    for (std::uint64_t i = 0; i < 20; ++i)
    {
        EXPECT_FALSE(actsOf(Plan(i, 30s, calm).bus()).contains(BusAct::StopBeyondLease));
    }
}
