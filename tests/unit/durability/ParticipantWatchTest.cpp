#include "durability/ParticipantWatch.h"

#include "dds/domain/DomainParticipant.hpp"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

using namespace com::tallowcrest::durability;
using namespace std::chrono_literals;

namespace
{

class ParticipantWatchTest : public testing::Test
{
protected:
    using Clock = ParticipantWatch::Clock;

    /// Lets the own participant grow old enough to be nobody new.
    void SetUp() override
    {
        ASSERT_TRUE(
            testsupport::waitUntil([this] { return Clock::now() > m_made + ParticipantWatch::settlesAfterNewcomer; }));
    }
    dds_entity_t participant() const { return m_participant.delegate()->handle(); }

    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    const Clock::time_point m_made = Clock::now();
};

} // namespace

TEST_F(ParticipantWatchTest, WhereNobodyNewIsSeenItIsSettledOnceTheOwnParticipantHasLivedForAWhile)
{
    const auto started = Clock::now();
    ParticipantWatch sut(participant(), started);

    EXPECT_FALSE(sut.isSettled(started, started + 299ms));
    EXPECT_TRUE(sut.isSettled(started, started + 300ms));
}

TEST_F(ParticipantWatchTest, OfAnOldParticipantItIsSettledAtOnceWhenNobodyNewIsSeen)
{
    const auto now = Clock::now();
    ParticipantWatch sut(participant(), now - 1h);

    EXPECT_TRUE(sut.isSettled(now, now)) << "who is there already counts from when it was found";
}

TEST_F(ParticipantWatchTest, AfterANewcomerItIsNotSettledForAWhileHoweverOldTheOwnParticipantIs)
{
    const auto before = Clock::now();
    ParticipantWatch sut(participant(), before - 1h);
    const dds::domain::DomainParticipant newcomer(dds::domain::default_id());

    ASSERT_TRUE(testsupport::waitUntil([&] {
        const auto now = Clock::now();
        return sut.isSettled(now, now);
    }));
    EXPECT_GE(Clock::now() - before, 120ms);
}

TEST_F(ParticipantWatchTest, NobodyWaitsLongerThanTheLongestWait)
{
    const auto started = Clock::now();
    ParticipantWatch sut(participant(), started);
    const auto since = started - 100ms;

    EXPECT_FALSE(sut.isSettled(since, since + 349ms));
    EXPECT_TRUE(sut.isSettled(since, since + 350ms)) << "the own participant has lived for 250 ms only";
}

TEST_F(ParticipantWatchTest, TheNextWaitOfTheSameJoinNeedNotBeginAnew)
{
    const auto started = Clock::now();
    ParticipantWatch sut(participant(), started + 1h);
    ASSERT_TRUE(sut.isSettled(started, started + 350ms));

    EXPECT_TRUE(sut.isSettled(started + 350ms, started + 350ms));
    EXPECT_TRUE(sut.isSettled(started + 600ms, started + 849ms));
    EXPECT_FALSE(sut.isSettled(started + 600ms, started + 850ms));
}
