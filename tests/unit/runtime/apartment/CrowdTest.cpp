#include "runtime/apartment/Crowd.h"

#include "tests/fakes/ManualAlarmClock.h"

#include <gtest/gtest.h>

#include <chrono>

namespace
{

using com::tallowcrest::apartment::Crowd;
using namespace std::chrono_literals;

class CrowdTest : public testing::Test
{
protected:
    /// As many events as are judged together, so many of them with others, the last one `time` after the first; how
    /// often the judgement changed.
    int note(std::uint32_t numShared, std::chrono::microseconds time = 1ms)
    {
        m_clock.pass(time);
        int changes = 0;
        for (std::uint32_t i = 0; i < Crowd::numJudged; ++i)
        {
            changes += m_sut.note(i < numShared) ? 1 : 0;
        }
        return changes;
    }

    ManualAlarmClock m_clock;
    Crowd m_sut{m_clock};
};

TEST_F(CrowdTest, isThereWhenHalfOfTheEventsFindOthers)
{
    note(0);
    EXPECT_EQ(note(Crowd::begins - 1), 0);
    EXPECT_FALSE(m_sut.isThere());
    EXPECT_EQ(note(Crowd::begins), 1);
    EXPECT_TRUE(m_sut.isThere());
}

TEST_F(CrowdTest, lastsWhileAQuarterDoes)
{
    note(0);
    note(Crowd::numJudged);
    EXPECT_EQ(note(Crowd::lasts), 0);
    EXPECT_TRUE(m_sut.isThere());
    EXPECT_EQ(note(Crowd::lasts - 1), 1);
    EXPECT_FALSE(m_sut.isThere());
}

TEST_F(CrowdTest, thoseWhoComeTogetherNowAndThenAreNone)
{
    note(0);
    EXPECT_EQ(note(Crowd::numJudged, Crowd::judgedTime + 1us), 0);
    EXPECT_FALSE(m_sut.isThere());
    EXPECT_EQ(note(Crowd::numJudged, Crowd::judgedTime), 1);
    EXPECT_TRUE(m_sut.isThere());
}

TEST_F(CrowdTest, isGoneWithTheFirstEventThatComesAloneAfterAPause)
{
    note(0);
    note(Crowd::numJudged);
    m_clock.pass(Crowd::judgedTime);
    EXPECT_FALSE(m_sut.note(false));
    m_clock.pass(1us);
    EXPECT_FALSE(m_sut.note(true)) << "it is not asked while events come together";
    EXPECT_TRUE(m_sut.note(false));
    EXPECT_FALSE(m_sut.isThere());
}

TEST_F(CrowdTest, whatCameBeforeAPauseDoesNotCountAfterIt)
{
    note(0);
    note(Crowd::numJudged);
    for (std::uint32_t i = 0; i < Crowd::begins; ++i)
    {
        m_sut.note(true);
    }
    m_clock.pass(1s);
    EXPECT_TRUE(m_sut.note(false));
    EXPECT_EQ(note(Crowd::begins - 1), 0);
    EXPECT_FALSE(m_sut.isThere());
}

} // namespace
