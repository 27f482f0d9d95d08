#include "koraserver/PeerWatch.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace
{

const PeerWatch::Clock::time_point start{};

PeerSigns askedInVain(std::chrono::milliseconds sinceConfirmation)
{
    return {true, sinceConfirmation};
}

} // namespace

TEST(PeerWatch, PeerThatIsNotAskedNeverVanishesHoweverLongItIsSilent)
{
    PeerWatch sut;

    EXPECT_FALSE(sut.hasVanished({false, 299s}, start));
    EXPECT_FALSE(sut.hasVanished({false, 24h}, start + 24h));
}

TEST(PeerWatch, PeerThatConfirmsNothingVanishesThirtySecondsAfterItWasAsked)
{
    PeerWatch sut;

    EXPECT_FALSE(sut.hasVanished(askedInVain(1s), start));
    EXPECT_FALSE(sut.hasVanished(askedInVain(30900ms), start + 29900ms));
    EXPECT_TRUE(sut.hasVanished(askedInVain(31s), start + 30s));
}

TEST(PeerWatch, AnswerThatComesAfterALongSilenceHasTheWholeTime)
{
    PeerWatch sut;

    EXPECT_FALSE(sut.hasVanished(askedInVain(250s), start)) << "the command took its time";
    EXPECT_FALSE(sut.hasVanished(askedInVain(279s), start + 29s));
    EXPECT_TRUE(sut.hasVanished(askedInVain(280s), start + 30s));
}

TEST(PeerWatch, PeerThatConfirmedInBetweenStays)
{
    PeerWatch sut;

    // A bad line: whenever somebody looks, something is on its way for the second time.
    for (auto time = 0s; time < 10min; time += 1s)
    {
        ASSERT_FALSE(sut.hasVanished(askedInVain(5s), start + time));
    }
}

TEST(PeerWatch, PeerThatHasConfirmedEverythingBeginsAnew)
{
    PeerWatch sut;
    EXPECT_FALSE(sut.hasVanished(askedInVain(20s), start));

    EXPECT_FALSE(sut.hasVanished({false, 1s}, start + 29s));

    EXPECT_FALSE(sut.hasVanished(askedInVain(40s), start + 69s));
    EXPECT_TRUE(sut.hasVanished(askedInVain(70s), start + 99s));
}

TEST(SlotPressure, IsLowUntilEverySlotIsTaken)
{
    SlotPressure sut;

    EXPECT_FALSE(sut.isHigh(false, start));
    EXPECT_TRUE(sut.isHigh(true, start + 1h));
}

TEST(SlotPressure, LastsAMinuteBeyondTheLastTimeThatEverySlotWasTaken)
{
    SlotPressure sut;
    EXPECT_TRUE(sut.isHigh(true, start));
    EXPECT_TRUE(sut.isHigh(false, start + 59s));
    EXPECT_TRUE(sut.isHigh(true, start + 59s)) << "a newcomer that comes and goes";

    EXPECT_TRUE(sut.isHigh(false, start + 118s));
    EXPECT_FALSE(sut.isHigh(false, start + 119s));
    EXPECT_FALSE(sut.isHigh(false, start + 120s));
}

TEST(Probes, EndThirtySecondsAfterTheFirstAndSoonerWhileSlotsAreShort)
{
    EXPECT_EQ(calmProbes[0].value * calmProbes[1].value, 30);
    EXPECT_EQ(calmProbes[2].value, 300);
    EXPECT_LT(urgentProbes[2].value + urgentProbes[0].value * urgentProbes[1].value, 50)
        << "a minute, with room to spare";
    EXPECT_EQ(urgentProbes[2].value, 30);
}
