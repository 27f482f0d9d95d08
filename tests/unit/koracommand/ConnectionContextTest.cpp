#include "koracommand/ConnectionContext.h"

#include "tests/support/LogRecorder.h"
#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

namespace
{

class ConnectionContextTest : public ::testing::Test
{
protected:
    testsupport::LogRecorder m_log;
    ConnectionContext m_sut{log4cxx::Logger::getLogger("KORABRIDGE"), 3, &fixedClock};
};

TEST_F(ConnectionContextTest, CountWithinTheLimitIsKeptAndNotLogged)
{
    EXPECT_EQ(m_sut.limitCount(0x50, 510, 510), 510U);
    EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(ConnectionContextTest, CountBeyondTheLimitIsCutAndLoggedAtInfo)
{
    EXPECT_EQ(m_sut.limitCount(0x50, 0xffffffff, 510), 510U);
    const auto lines = m_log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].level, "INFO");
    EXPECT_EQ(lines[0].logger, "KORABRIDGE");
    EXPECT_EQ(lines[0].text, "Connection 3: request 0x00000050 asks for 4294967295 entries, limited to 510");
}

TEST_F(ConnectionContextTest, OnlyTheFirstCutOfAConnectionIsLogged)
{
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_EQ(m_sut.limitCount(0x5e, 2, 1), 1U);
    }
    EXPECT_EQ(m_log.lines().size(), 1U);
}

TEST_F(ConnectionContextTest, EachConnectionLogsItsOwnFirstCut)
{
    ConnectionContext other(log4cxx::Logger::getLogger("KORABRIDGE"), 4, &fixedClock);
    m_sut.limitCount(0x50, 2, 1);
    other.limitCount(0x50, 2, 1);
    EXPECT_EQ(m_log.lines().size(), 2U);
}

TEST_F(ConnectionContextTest, TimeComesFromTheClockGiven)
{
    EXPECT_EQ(m_sut.now(), fixedClock());
}

} // namespace
