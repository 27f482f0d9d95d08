// What is promised of a connection within a time.
#include "tests/unit/koraserver/ConnectionImplFixture.h"

#include "tests/support/StallMeter.h"

using testsupport::scaled;
using namespace std::chrono_literals;

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
