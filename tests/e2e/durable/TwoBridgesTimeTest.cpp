// What is promised within a time of a bridge that is not alone.
#include "tests/e2e/durable/TwoBridges.h"
#include "tests/support/StallMeter.h"

#include <algorithm>

using namespace e2e;

namespace
{

using TwoBridgesTimeTest = TwoBridges;

} // namespace

TEST_F(TwoBridgesTimeTest, NoAnswerTakesLongerThan20MillisecondsWhileAMembershipIsAnnouncedAgain)
{
    startNear();
    startFar();
    auto near = connectController();
    takeEverything(near);
    waitOutLossBound(bridge());
    testsupport::StallMeter stalls;
    stalls.watch(bridge().pid());

    testsupport::StallMeter::Clock::duration longest{0};
    for (int round = 0; round < 3; ++round)
    {
        const std::size_t before = bridge().output().size();
        m_membership->write({nearFrame, "R1", 1});
        EXPECT_TRUE(testsupport::waitUntil([&] {
            longest = std::max(longest, stalls.workedDuring([&] { near.tally(videoLevel, 1, 288); }));
            return bridge().output().find("connected to router", before) != std::string::npos;
        })) << round;
    }

    EXPECT_LE(longest, testsupport::scaled(std::chrono::milliseconds(20)));
    std::cerr << "LONGEST " << std::chrono::duration<double, std::milli>(longest).count() << "\n";
}
