#include "tests/chaos/ChangeLedger.h"

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

class ChangeLedgerTest : public testing::Test
{
protected:
    static constexpr Crosspoint output{Signal::Audio, 9};
    static constexpr ChangeLedger::Status older{0, 3, 0, 1000};
    static constexpr ChangeLedger::Status newer{0, 4, 1, 1001};

    const Clock::time_point m_now = Clock::now();
    Verdict m_verdict;
    ChangeLedger m_sut{m_verdict, 3s};
    const std::size_t m_poller = m_sut.addPoller("poller", ChangeLedger::Detail::Everything);
};

} // namespace

TEST_F(ChangeLedgerTest, ReportedChangeIsCompared)
{
    m_sut.published(output, newer, m_now);
    m_sut.reported(m_poller, output, newer);

    m_sut.walked(m_poller, Signal::Audio, m_now + 1h);

    EXPECT_THAT(m_verdict.texts(), IsEmpty());
    EXPECT_EQ(m_sut.figures().compared, 1U);
    EXPECT_EQ(m_sut.open(), 0U);
}

TEST_F(ChangeLedgerTest, MissingChangeIsAViolationOnceItIsDue)
{
    m_sut.reported(m_poller, output, older);
    m_sut.published(output, newer, m_now);

    m_sut.walked(m_poller, Signal::Audio, m_now + 2s);
    EXPECT_THAT(m_verdict.texts(), IsEmpty());
    m_sut.walked(m_poller, Signal::Audio, m_now + 3s);

    EXPECT_THAT(m_verdict.texts(), ElementsAre(HasSubstr("poller has not learnt of audio 9")));
}

TEST_F(ChangeLedgerTest, EachControllerMustLearnOfIt)
{
    const auto other = m_sut.addPoller("other", ChangeLedger::Detail::Everything);
    m_sut.published(output, newer, m_now);
    m_sut.reported(m_poller, output, newer);

    m_sut.walked(m_poller, Signal::Audio, m_now + 1h);
    m_sut.walked(other, Signal::Audio, m_now + 1h);

    EXPECT_THAT(m_verdict.texts(), ElementsAre(HasSubstr("other has not learnt of audio 9")));
}

TEST_F(ChangeLedgerTest, OnlyTheLatestStatusNeedsToBeKnown)
{
    m_sut.published(output, older, m_now);
    m_sut.published(output, newer, m_now);
    m_sut.reported(m_poller, output, newer);

    m_sut.walked(m_poller, Signal::Audio, m_now + 1h);

    EXPECT_THAT(m_verdict.texts(), IsEmpty());
    EXPECT_EQ(m_sut.figures().superseded, 1U);
}

TEST_F(ChangeLedgerTest, ShortFormatNeedNotTellOfLocks)
{
    const auto shortOne = m_sut.addPoller("short", ChangeLedger::Detail::InputOnly);
    m_sut.published(output, newer, m_now);
    m_sut.reported(shortOne, output, {0, 4, 0, 0});

    m_sut.walked(shortOne, Signal::Audio, m_now + 1h);

    EXPECT_THAT(m_verdict.texts(), IsEmpty());
}

TEST_F(ChangeLedgerTest, WrongHolderIsAViolation)
{
    m_sut.published(output, newer, m_now);
    m_sut.reported(m_poller, output, {0, 4, 1, 1000});

    m_sut.walked(m_poller, Signal::Audio, m_now + 1h);

    EXPECT_EQ(m_verdict.count(), 1U);
}

TEST_F(ChangeLedgerTest, NothingIsComparedWhileTheBusIsInterrupted)
{
    m_sut.published(output, newer, m_now);
    m_sut.interrupt();

    m_sut.walked(m_poller, Signal::Audio, m_now + 1h);

    EXPECT_EQ(m_sut.open(), 1U);
    EXPECT_THAT(m_verdict.texts(), IsEmpty());
}

TEST_F(ChangeLedgerTest, WhatWasHeldUpIsDueLater)
{
    m_sut.published(output, newer, m_now);
    m_sut.interrupt();
    m_sut.resume(true, m_now + 10s);

    m_sut.walked(m_poller, Signal::Audio, m_now + 12s);
    EXPECT_THAT(m_verdict.texts(), IsEmpty());
    m_sut.walked(m_poller, Signal::Audio, m_now + 13s);

    EXPECT_EQ(m_verdict.count(), 1U);
}

TEST_F(ChangeLedgerTest, WhatARouterPublishedBeforeItDiedIsNotCompared)
{
    m_sut.published(output, newer, m_now);
    m_sut.interrupt();
    m_sut.resume(false, m_now);

    m_sut.walked(m_poller, Signal::Audio, m_now + 1h);

    EXPECT_THAT(m_verdict.texts(), IsEmpty());
    EXPECT_EQ(m_sut.open(), 0U);
}

TEST_F(ChangeLedgerTest, DisposedStatusIsComparedUnlessTheBridgeJoins)
{
    constexpr ChangeLedger::Status gone{3, 0, 0, 0};
    m_sut.reported(m_poller, output, older);
    m_sut.disposed(output, gone, m_now + 1h);
    EXPECT_EQ(m_sut.open(), 1U);

    m_sut.rejoins(m_now + 1h);

    EXPECT_EQ(m_sut.open(), 0U);
}

TEST_F(ChangeLedgerTest, OutputThatDoesNotExistIsAViolation)
{
    m_sut.reported(m_poller, {Signal::Video, 289}, older);

    EXPECT_THAT(m_verdict.texts(), ElementsAre(HasSubstr("which does not exist")));
}

TEST_F(ChangeLedgerTest, OutputsOfAMarkAreCountedOnceEach)
{
    m_sut.published(output, newer, m_now);
    m_sut.mark(newer.lprId);
    EXPECT_EQ(m_sut.figures().marked, 0U);

    m_sut.published(output, older, m_now);
    EXPECT_EQ(m_sut.figures().marked, 0U);
    m_sut.published(output, newer, m_now);
    m_sut.published(output, older, m_now);
    m_sut.published(output, newer, m_now);
    EXPECT_EQ(m_sut.figures().marked, 1U);

    m_sut.mark(older.lprId);
    m_sut.published(output, older, m_now);
    EXPECT_EQ(m_sut.figures().marked, 1U);
}
