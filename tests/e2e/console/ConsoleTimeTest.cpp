// What is promised of the console within a time.
#include "tests/e2e/console/OperatorFixture.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TimeFactor.h"

#include <csignal>

using namespace e2e;
using testsupport::scaled;
using testsupport::StallMeter;
using testsupport::TcpSocket;

namespace
{

class ConsoleTimeTest : public OperatorFixture
{
protected:
    static constexpr std::chrono::milliseconds aboutASecond{1500};

    void SetUp() override
    {
        startJoined();
        m_stalls.watch(bridge().pid());
    }
    /// From the signal to the end of the menu.
    StallMeter::Clock::duration stopTime()
    {
        return m_stalls.workedDuring([this] {
            bridge().signal(SIGTERM);
            EXPECT_TRUE(bridge().waitForOutput("Stopping korabridge"));
        });
    }

    StallMeter m_stalls;
};

} // namespace

TEST_F(ConsoleTimeTest, StopWhileTheMenuWaitsForAnOperatorEndsItWithinASecond)
{
    EXPECT_LT(stopTime(), scaled(aboutASecond));
}

TEST_F(ConsoleTimeTest, StopWhileTheMenuWaitsForInputEndsItWithinASecond)
{
    const Operator sut;

    EXPECT_LT(stopTime(), scaled(aboutASecond));
}

TEST_F(ConsoleTimeTest, StopWhileAPromptWaitsForItsAnswerEndsTheMenuWithinASecond)
{
    Operator sut;
    sut.chooseTable("7");

    EXPECT_LT(stopTime(), scaled(aboutASecond));
}

TEST_F(ConsoleTimeTest, SecondOperatorIsResetWithinASecond)
{
    const Operator first;

    const auto took = m_stalls.workedDuring([] {
        const auto second = TcpSocket::connect(telnetPort);
        ASSERT_TRUE(second);
        EXPECT_TRUE(second->waitForClose());
    });

    EXPECT_LT(took, scaled(aboutASecond));
}

TEST_F(ConsoleTimeTest, NextOperatorIsServedWithinASecond)
{
    {
        Operator leaving;
        leaving.type("2\n2\n7\n"); // leaves with tables on the way and at a prompt
    }

    const auto took = m_stalls.workedDuring([] { const Operator next; });

    EXPECT_LT(took, scaled(aboutASecond));
}
