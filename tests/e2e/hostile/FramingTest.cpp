#include "tests/e2e/hostile/HostileFixture.h"

using namespace e2e;

namespace
{

using FramingTest = HostileFixture;

} // namespace

TEST_F(FramingTest, ImpossibleLengthBehindARequestTakesNothingOfALaterSegmentWithIt)
{
    startJoined();
    const auto controller = connectRaw();

    // Of the second header the length word is the last that comes.
    controller.send(portPresentRequest(1) + header(12, 2, 8193, 0x50).substr(0, 12));
    ASSERT_EQ(controller.receive(answerBytes), portPresentAnswer(0, 1)) << "what came before is handled";
    controller.send(portPresentRequest(3));

    EXPECT_EQ(controller.receive(answerBytes), portPresentAnswer(1, 3)) << "a message of its own";
}
