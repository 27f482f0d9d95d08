// What is promised within a time to a controller that has said its last word.
#include "tests/e2e/hostile/HostileFixture.h"

#include <sys/socket.h>

using namespace e2e;

namespace
{

class HalfCloseTimeTest : public HostileFixture
{
protected:
    static constexpr std::uint32_t outputs = 1000;
    static constexpr std::size_t longAnswerBytes = (outputs + 4) * 8;

    /// A question whose answer is nearly as long as can be.
    static std::string longQuestion(std::uint32_t tag)
    {
        return testsupport::asText(koraclient::RequestEncoder(tag).tally(audioLevel, 1, outputs));
    }
};

} // namespace

TEST_F(HalfCloseTimeTest, AnswersThatAreStillUnsentArrive)
{
    constexpr std::uint32_t questions = 20; // more than the way holds while nobody reads
    startJoined();
    const auto controller = connectRaw();
    for (std::uint32_t tag = 0; tag < questions; ++tag)
    {
        controller.send(longQuestion(tag));
    }
    ASSERT_EQ(::shutdown(controller.fd(), SHUT_WR), 0);
    ASSERT_TRUE(bridge().waitForOutput("recv disconnect"));
    // Another controller has the server's thread look for connections that have ended.
    EXPECT_EQ(connectController().portPresent(), 0U);

    std::size_t received = 0;
    for (std::uint32_t tag = 0; tag < questions; ++tag)
    {
        received += controller.receive(longAnswerBytes).size();
    }

    EXPECT_EQ(received, questions * longAnswerBytes);
    EXPECT_TRUE(controller.waitForClose());
    EXPECT_TRUE(bridge().waitForOutput("removed dead tcp connection"));
}
