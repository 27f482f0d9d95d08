#include "tests/chaos/TakeLedger.h"

#include "tests/chaos/Verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace chaos;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

class TakeLedgerTest : public testing::Test
{
protected:
    static constexpr Crosspoint output{Signal::Video, 7};

    static TakeLedger::Sighting sighting(std::uint32_t number, std::uint32_t input, std::uint64_t writer = 1,
                                         std::int64_t written = 0)
    {
        return {"R1", output, number, input, 0, writer, written};
    }
    void take(std::uint32_t number, std::uint32_t input)
    {
        ASSERT_TRUE(m_sut.sent(output, {number, input, std::nullopt}));
        m_sut.acknowledged(output, m_now);
    }

    const Clock::time_point m_now = Clock::now();
    Verdict m_verdict;
    TakeLedger m_sut{m_verdict, 2s};
};

} // namespace

TEST_F(TakeLedgerTest, TakeThatIsSeenInTimeIsFound)
{
    take(1000, 3);

    m_sut.seen(sighting(1000, 3), m_now + 5ms);
    m_sut.check(m_now + 1h);

    EXPECT_THAT(m_verdict.texts(), IsEmpty());
    EXPECT_EQ(m_sut.figures().found, 1U);
    EXPECT_EQ(m_sut.figures().longest, 5ms);
}

TEST_F(TakeLedgerTest, TakeMayBeSeenBeforeItsAnswer)
{
    ASSERT_TRUE(m_sut.sent(output, {1000, 3, std::nullopt}));
    m_sut.seen(sighting(1000, 3), m_now);
    m_sut.acknowledged(output, m_now);

    m_sut.check(m_now + 1h);

    EXPECT_THAT(m_verdict.texts(), IsEmpty());
    EXPECT_EQ(m_sut.figures().found, 1U);
}

TEST_F(TakeLedgerTest, LostTakeIsAViolation)
{
    take(1000, 3);

    m_sut.check(m_now + 3s);

    EXPECT_THAT(m_verdict.texts(), ElementsAre(HasSubstr("request 1000 for video 7 was acknowledged 3000 ms ago and is "
                                                         "not on the bus")));
    EXPECT_EQ(m_sut.awaited(), 0U);
}

TEST_F(TakeLedgerTest, AnotherInputOnTheBusIsAViolation)
{
    take(1000, 3);

    m_sut.seen(sighting(1000, 4), m_now);

    EXPECT_THAT(m_verdict.texts(), ElementsAre(HasSubstr("on the bus as input 4")));
}

TEST_F(TakeLedgerTest, AnotherLockStateOnTheBusIsAViolation)
{
    ASSERT_TRUE(m_sut.sent(output, {1000, std::nullopt, 2}));

    m_sut.seen(sighting(1000, 3), m_now);

    EXPECT_THAT(m_verdict.texts(), ElementsAre(HasSubstr("state 0")));
}

TEST_F(TakeLedgerTest, RefusedTakeOnTheBusIsAViolation)
{
    ASSERT_TRUE(m_sut.sent(output, {1000, 3, std::nullopt}));
    m_sut.seen(sighting(1000, 3), m_now);

    m_sut.refused(output);

    EXPECT_THAT(m_verdict.texts(), ElementsAre(HasSubstr("was refused and is on the bus")));
}

TEST_F(TakeLedgerTest, RefusedTakesAreCountedApartFromRefusedLocks)
{
    ASSERT_TRUE(m_sut.sent(output, {1, 5, std::nullopt}));
    m_sut.refused(output);
    ASSERT_TRUE(m_sut.sent(output, {2, std::nullopt, 2}));
    m_sut.refused(output);

    EXPECT_EQ(m_sut.figures().refused, 2U);
    EXPECT_EQ(m_sut.figures().refusedTakes, 1U);
}

TEST_F(TakeLedgerTest, OlderTakeThatUndoesANewerOneIsAViolation)
{
    m_sut.seen(sighting(1000, 3), m_now);
    m_sut.seen(sighting(1001, 4), m_now);

    m_sut.seen(sighting(1000, 3), m_now);

    EXPECT_THAT(m_verdict.texts(), ElementsAre(HasSubstr("request 1001 for video 7 was undone by request 1000")));
}

TEST_F(TakeLedgerTest, BelatedSampleOfAnEarlierWriterUndoesNothing)
{
    m_sut.seen(sighting(1001, 4, 2, 200), m_now);

    m_sut.seen(sighting(1000, 3, 1, 100), m_now);

    EXPECT_THAT(m_verdict.texts(), IsEmpty());
}

TEST_F(TakeLedgerTest, OneRequestPerOutputAtATime)
{
    ASSERT_TRUE(m_sut.sent(output, {1000, 3, std::nullopt}));

    EXPECT_FALSE(m_sut.sent(output, {1001, 4, std::nullopt}));
    m_sut.unanswered(output);
    EXPECT_TRUE(m_sut.sent(output, {1002, 4, std::nullopt}));
}
