// How long those who take part in the exchange between bridges can hold one up.
#include "tests/e2e/durable/DurableFixture.h"
#include "tests/e2e/hostile/HostileCompanion.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TimeFactor.h"

#include <csignal>

using namespace e2e;

namespace
{

using namespace std::chrono_literals;
using CompanionTimeTest = DurableFixture;

} // namespace

TEST_F(CompanionTimeTest, OneThatPromisesAndDripsDelaysAJoinByASecondInAll)
{
    const HostileCompanion companion("R1");
    router().announce();

    startJoinedOnStore();

    // Half a second without it; see WaitTimeTest.
    EXPECT_LE(joinTime(), testsupport::scaled(1500ms));
    EXPECT_TRUE(bridge().waitForOutput("1 other bridges are silent and no longer waited for"));
}

TEST_F(CompanionTimeTest, StopEndsTheWaitForOneThatDripsAtOnce)
{
    const HostileCompanion companion("R1");
    router().announce();
    startOnStore();
    ASSERT_TRUE(bridge().waitForOutput("Before waiting for historical data)"));
    testsupport::StallMeter stalls;
    stalls.watch(bridge().pid());

    const auto took = stalls.workedDuring([&] { EXPECT_EQ(stopBridge(), 0); });

    EXPECT_LT(took, testsupport::scaled(1s));
    EXPECT_EQ(bridge().output().find("Back  waiting"), std::string::npos) << "it was the wait that was stopped";
}
