// What is promised within a time of a start without enough descriptors, which is tried for ten seconds.
#include "tests/e2e/faults/FaultFixture.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TimeFactor.h"

namespace e2e
{
namespace
{

class DescriptorsTimeTest : public FaultFixture
{
protected:
    DescriptorsTimeTest() { switchLeakCheckOff(); }
};

TEST_F(DescriptorsTimeTest, StopDuringTheWaitIsNotHeldUp)
{
    startAfter("ulimit -S -n 9");
    ASSERT_TRUE(bridge().waitForOutput("not enough resources to start"));
    testsupport::StallMeter stalls;
    stalls.watch(bridge().pid());

    const auto took = stalls.workedDuring([this] { EXPECT_EQ(stopBridge(), 1); });

    EXPECT_LT(took, testsupport::scaled(std::chrono::seconds(3)));
}

} // namespace
} // namespace e2e
