// What is promised of the server and of a connection within a time.
#include "tests/support/StallMeter.h"
#include "tests/support/TimeFactor.h"
#include "tests/unit/koraserver/ConnectionImplFixture.h"
#include "tests/unit/koraserver/ServerFixture.h"

#include <array>
#include <chrono>

using testsupport::scaled;
using testsupport::waitForClosedPort;
using testsupport::waitForPort;
using namespace std::chrono_literals;

namespace
{

class ServerTimeTest : public ServerFixture
{
protected:
    testsupport::StallMeter m_stalls;
};

} // namespace

TEST_F(ServerTimeTest, StopWithAClientTakesLessThanHalfASecond)
{
    startConnected();
    connectClient();

    EXPECT_LT(m_stalls.workedDuring([this] { m_sut->stop(); }), scaled(500ms));
}

TEST_F(ServerTimeTest, WhateverIsAskedOfItDoesNotWaitForThePassThatRuns)
{
    startConnected();
    connectClient();
    constexpr int requests = 10;

    const auto took = m_stalls.workedDuring([this] {
        std::size_t events = m_events.all().size();
        for (int i = 0; i < requests; ++i)
        {
            m_sut->requestShowConnections();
            ASSERT_TRUE(m_events.waitForCount(++events));
        }
    });

    EXPECT_LT(took, scaled(requests * 1s / 2)) << "a pass waits for a second";
}

TEST_F(ServerTimeTest, RouterThatComesAndGoesDoesNotWaitForThePassThatRuns)
{
    m_sut->start();
    constexpr int rounds = 5;

    const auto took = m_stalls.workedDuring([this] {
        for (int i = 0; i < rounds; ++i)
        {
            m_sut->connectToRouter();
            ASSERT_TRUE(waitForPort(serverPort));
            m_sut->disconnectFromRouter();
            ASSERT_TRUE(waitForClosedPort(serverPort));
        }
    });

    EXPECT_LT(took, scaled(rounds * 1s / 2)) << "a pass waits for a second";
}

namespace
{

class ConnectionImplTimeTest : public ConnectionImplFixture
{
protected:
    testsupport::StallMeter m_stalls;
};

} // namespace

TEST_F(ConnectionImplTimeTest, ClientThatNeverReadsHoldsUpNeitherStopNorClose)
{
    korabytes::useSmallBuffers(m_client->fd());
    m_commands.answer = longestAnswer;
    m_sut->start();
    floodWithoutReading();

    const auto stopping = m_stalls.workedDuring([this] { m_sut->stop(); });
    const auto closing = m_stalls.workedDuring([this] { m_sut.reset(); });

    EXPECT_LT(stopping, scaled(500ms));
    EXPECT_LT(closing, scaled(500ms));
    EXPECT_EQ(m_log.countHolding("WARN"), 0U) << "the send failed because of the stop";
}

TEST_F(ConnectionImplTimeTest, StopDoesNotWaitForAClientThatOnlyEndedItsSendingAndResetsIt)
{
    static_cast<void>(leaveAnswersUnsent());
    ASSERT_EQ(::shutdown(m_client->fd(), SHUT_WR), 0);
    ASSERT_TRUE(m_log.waitForHolding("INFO recv disconnect"));

    const auto took = m_stalls.workedDuring([this] {
        m_sut->stop();
        m_sut.reset();
    });

    EXPECT_LT(took, scaled(500ms));
    std::array<char, 4096> dropped{};
    ssize_t last = 0;
    do
    {
        last = ::recv(m_client->fd(), dropped.data(), dropped.size(), 0);
    } while (last > 0);
    EXPECT_LT(last, 0)
        << "an orderly end is 0; a reset is ECONNRESET, or ENOTCONN when something else has been told of it";
}
