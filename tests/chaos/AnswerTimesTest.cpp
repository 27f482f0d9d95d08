#include "tests/chaos/AnswerTimes.h"

#include "tests/chaos/Verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace chaos;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

class AnswerTimesTest : public testing::Test
{
protected:
    const Clock::time_point m_now = Clock::now();
    Clock::duration m_stalled{0};
    Verdict m_verdict;
    AnswerTimes m_sut{m_verdict, 1s, [this](auto, auto) { return m_stalled; }};
};

} // namespace

TEST_F(AnswerTimesTest, AnswerInTimeIsCounted)
{
    m_sut.answered("take", m_now, m_now + 900ms);

    EXPECT_THAT(m_verdict.texts(), IsEmpty());
    EXPECT_EQ(m_sut.count(), 1U);
    EXPECT_EQ(m_sut.longest(), 900ms);
}

TEST_F(AnswerTimesTest, LateAnswerIsAViolationThatNamesTheCircumstance)
{
    m_sut.setCircumstance("kill");

    m_sut.answered("take", m_now, m_now + 1001ms);

    EXPECT_THAT(m_verdict.texts(), ElementsAre(HasSubstr("take was answered after 1001 ms")));
    EXPECT_THAT(m_verdict.texts().front(), HasSubstr("last: kill"));
}

TEST_F(AnswerTimesTest, TimeForWhichTheMachineStoodStillDoesNotCount)
{
    m_stalled = 500ms;

    m_sut.answered("take", m_now, m_now + 1400ms);

    EXPECT_THAT(m_verdict.texts(), IsEmpty());
}

TEST_F(AnswerTimesTest, QuantilesAreWithinAnEighth)
{
    for (int i = 1; i <= 100; ++i)
    {
        m_sut.answered("take", m_now, m_now + i * 1ms);
    }
    std::ostringstream out;

    m_sut.print(out);

    std::istringstream line(out.str().substr(out.str().find('\n') + 1));
    std::string command;
    std::size_t count = 0;
    double median = 0;
    line >> command >> count >> median;
    EXPECT_EQ(command, "take");
    EXPECT_EQ(count, 100U);
    EXPECT_GE(median, 50);
    EXPECT_LE(median, 50 * 1.125);
}
