#include "runtime/apartment/Preference.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>

namespace
{

using com::tallowcrest::apartment::Preference;

constexpr std::array<int, 16> waiters{};

/// So many events in a row, of the waiters by turns; how often the preference changed.
int note(Preference& sut, std::size_t numWaiters, std::uint32_t numEvents = Preference::numJudged, bool isBrief = true)
{
    int changes = 0;
    for (std::uint32_t i = 0; i < numEvents; ++i)
    {
        changes += sut.note(&waiters.at(i % numWaiters), isBrief) ? 1 : 0;
    }
    return changes;
}

TEST(PreferenceTest, isThereFromTheStartAndStaysForOne)
{
    Preference sut;
    EXPECT_TRUE(sut.isPreferred());

    EXPECT_EQ(note(sut, 1, 10 * Preference::numJudged), 0);
    EXPECT_TRUE(sut.isPreferred());
}

TEST(PreferenceTest, endsWhileSeveralAreBusyAndComesBackAfterwards)
{
    for (const std::size_t several : {std::size_t{2}, waiters.size()})
    {
        Preference sut;

        EXPECT_EQ(note(sut, several), 1);
        EXPECT_FALSE(sut.isPreferred());
        EXPECT_EQ(note(sut, several, 10 * Preference::numJudged), 0);
        EXPECT_EQ(note(sut, 1), 1);
        EXPECT_TRUE(sut.isPreferred());
    }
}

TEST(PreferenceTest, staysWhileOthersOnlyAskNowAndThen)
{
    Preference sut;

    for (std::uint32_t i = 0; i < 10 * Preference::numJudged; ++i)
    {
        EXPECT_FALSE(sut.note(&waiters.at(i % 5 == 0 ? 1 + i % 15 : 0), true)) << i;
    }
    EXPECT_TRUE(sut.isPreferred());
}

TEST(PreferenceTest, staysWhileSeveralSendLongEventsAndComesBackWithThem)
{
    Preference sut;

    EXPECT_EQ(note(sut, waiters.size(), 10 * Preference::numJudged, false), 0);
    EXPECT_TRUE(sut.isPreferred());

    EXPECT_EQ(note(sut, waiters.size()), 1);
    EXPECT_EQ(note(sut, waiters.size(), Preference::numJudged, false), 1);
    EXPECT_TRUE(sut.isPreferred());
}

TEST(PreferenceTest, staysWhileOneSendsBriefEventsBetweenTheLongOnesOfAnother)
{
    Preference sut;

    for (std::uint32_t i = 0; i < 10 * Preference::numJudged; ++i)
    {
        EXPECT_FALSE(sut.note(&waiters.at(i % 2), i % 2 == 0)) << i;
    }
    EXPECT_TRUE(sut.isPreferred());
}

TEST(PreferenceTest, eventsForWhichNobodyWaitsSayNothing)
{
    Preference sut;

    note(sut, 2, Preference::numJudged - 1);
    for (int i = 0; i < 1000; ++i)
    {
        EXPECT_FALSE(sut.note(nullptr, true));
    }

    EXPECT_TRUE(sut.note(&waiters[1], true));
}

} // namespace
