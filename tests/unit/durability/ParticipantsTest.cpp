#include "durability/Participants.h"

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

    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    const Clock::time_point m_made = Clock::now();
};

} // namespace

TEST_F(ParticipantWatchTest, WhereNobodyElseIsTheLastNewcomerIsTheOwnParticipant)
{
    const auto started = m_participant.delegate()->started();
    ParticipantWatch sut(m_participant, started);

    EXPECT_GE(sut.lastNewcomer(), started);
    EXPECT_LE(sut.lastNewcomer(), m_made + 50ms);
}

TEST_F(ParticipantWatchTest, StartOfTheOwnParticipantCountsWhenNobodyWasFoundLater)
{
    const auto started = Clock::now() + 1h;
    ParticipantWatch sut(m_participant, started);

    EXPECT_EQ(sut.lastNewcomer(), started);
}

TEST_F(ParticipantWatchTest, WhoWasThereBeforeCountsFromWhenItWasFound)
{
    const dds::domain::DomainParticipant other(dds::domain::default_id());
    const auto found = Clock::now();
    ASSERT_TRUE(testsupport::waitUntil([&] { return Clock::now() > found + 20ms; }));

    ParticipantWatch sut(m_participant, m_made - 1h);

    EXPECT_LE(sut.lastNewcomer(), found + 10ms) << "not from when it was looked at";
    EXPECT_GE(sut.lastNewcomer(), m_made - 1s);
}

TEST_F(ParticipantWatchTest, NewcomerIsSeen)
{
    ParticipantWatch sut(m_participant, m_made - 1h);
    static_cast<void>(sut.lastNewcomer());
    const auto before = Clock::now();
    const dds::domain::DomainParticipant newcomer(dds::domain::default_id());

    EXPECT_TRUE(testsupport::waitUntil([&] { return sut.lastNewcomer() >= before; }));
    EXPECT_LE(sut.lastNewcomer(), Clock::now());
}
