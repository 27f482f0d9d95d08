#include "runtime/util/Timecode.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <ostream>

namespace com::tallowcrest::util
{

static void PrintTo(const Timecode::TimeOfDay& time, std::ostream* out)
{
    *out << time.hours << ':' << time.minutes << ':' << time.seconds << " field " << time.fieldInSecond << " code "
         << static_cast<std::uint32_t>(time.code);
}

} // namespace com::tallowcrest::util

namespace
{

using com::tallowcrest::util::Timecode;
using Code = Timecode::Code;
using TimeOfDay = Timecode::TimeOfDay;

constexpr std::uint32_t fieldsPerDay25 = 4320000;
constexpr std::uint32_t fieldsPerDayDrop = 5178816;
constexpr std::uint32_t fieldsPerDay30 = 5184000;

Timecode make(Code code, std::uint32_t fields)
{
    return Timecode((static_cast<std::uint32_t>(code) << 24) | fields);
}

struct RateCase
{
    Code code;
    std::uint32_t fieldsPerDay;
    std::uint32_t fieldsPerSecond; ///< the range of the field number
};

class TimecodeRateTest : public testing::TestWithParam<RateCase>
{};

INSTANTIATE_TEST_SUITE_P(Rates, TimecodeRateTest,
                         testing::Values(RateCase{Code::Fps25, fieldsPerDay25, 50},
                                         RateCase{Code::Fps2997Drop, fieldsPerDayDrop, 60},
                                         RateCase{Code::Fps30, fieldsPerDay30, 60}));

TEST_P(TimecodeRateTest, aWholeDayCountsLikeAClock)
{
    const auto& [code, fieldsPerDay, fieldsPerSecond] = GetParam();
    TimeOfDay clock{.hours = 0, .minutes = 0, .seconds = 0, .fieldInSecond = 0, .code = code};

    for (std::uint32_t field = 0; field < fieldsPerDay; ++field)
    {
        const Timecode sut = make(code, field);
        ASSERT_EQ(sut.timeOfDay(), clock) << "field " << field;
        ASSERT_EQ(Timecode(clock).word(), sut.word()) << "field " << field;

        // A plain clock that skips four field numbers at the begin of each minute but every tenth one.
        if (++clock.fieldInSecond < fieldsPerSecond)
        {
            continue;
        }
        clock.fieldInSecond = 0;
        if (++clock.seconds < 60)
        {
            continue;
        }
        clock.seconds = 0;
        if (++clock.minutes == 60)
        {
            clock.minutes = 0;
            ++clock.hours;
        }
        if (code == Code::Fps2997Drop && clock.minutes % 10 != 0)
        {
            clock.fieldInSecond = 4;
        }
    }
    EXPECT_EQ(clock, (TimeOfDay{.hours = 24, .minutes = 0, .seconds = 0, .fieldInSecond = 0, .code = code}));
}

TEST_P(TimecodeRateTest, oneFieldMoreThanTheDaysLastWrapsToZero)
{
    const auto& [code, fieldsPerDay, fieldsPerSecond] = GetParam();
    Timecode sut = make(code, fieldsPerDay - 1);

    sut += 1;

    EXPECT_EQ(sut.fields(), 0U);
    EXPECT_EQ(sut.getFPS(), code);
}

TEST_P(TimecodeRateTest, oneFieldLessThanMidnightWrapsToTheDaysLast)
{
    const auto& [code, fieldsPerDay, fieldsPerSecond] = GetParam();
    Timecode sut = make(code, 0);

    sut -= 1;

    EXPECT_EQ(sut.fields(), fieldsPerDay - 1);
    EXPECT_EQ(sut.getFPS(), code);
}

TEST_P(TimecodeRateTest, movingByDaysChangesNothing)
{
    const auto& [code, fieldsPerDay, fieldsPerSecond] = GetParam();
    Timecode sut = make(code, 1234);

    sut += static_cast<int>(3 * fieldsPerDay);
    EXPECT_EQ(sut.fields(), 1234U);
    sut -= static_cast<int>(5 * fieldsPerDay);
    EXPECT_EQ(sut.fields(), 1234U);
}

TEST_P(TimecodeRateTest, movingByTheLargestAndSmallestNumbersStaysInTheDay)
{
    const auto& [code, fieldsPerDay, fieldsPerSecond] = GetParam();
    for (const int step : {std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
    {
        Timecode sut = make(code, 77);

        sut += step;
        EXPECT_LT(sut.fields(), fieldsPerDay);
        sut -= step;

        EXPECT_EQ(sut.fields(), 77U);
    }
}

TEST_P(TimecodeRateTest, movingByNegativeFieldsGoesTheOtherWay)
{
    Timecode sut = make(GetParam().code, 100);

    sut += -30;
    EXPECT_EQ(sut.fields(), 70U);
    sut -= -50;
    EXPECT_EQ(sut.fields(), 120U);
}

TEST_P(TimecodeRateTest, aCountBeyondTheDayComesBackIntoItWhenMoved)
{
    const auto& [code, fieldsPerDay, fieldsPerSecond] = GetParam();
    Timecode sut = make(code, 0xffffff);

    sut += 0;

    EXPECT_EQ(sut.fields(), 0xffffff % fieldsPerDay);
}

TEST_P(TimecodeRateTest, clockwiseCountsForwardAcrossMidnight)
{
    const auto& [code, fieldsPerDay, fieldsPerSecond] = GetParam();
    const Timecode late = make(code, fieldsPerDay - 10);
    const Timecode early = make(code, 6);

    EXPECT_EQ(Timecode::numFieldsClockwise(late, early), 16);
    EXPECT_EQ(Timecode::numFramesClockwise(late, early), 8);
    EXPECT_EQ(Timecode::numFieldsClockwise(early, late), static_cast<int>(fieldsPerDay) - 16);
    EXPECT_EQ(Timecode::numFieldsClockwise(early, early), 0);
}

TEST_P(TimecodeRateTest, theSignedDifferenceStaysWithinTheDay)
{
    const auto& [code, fieldsPerDay, fieldsPerSecond] = GetParam();
    const Timecode early = make(code, 6);
    const Timecode late = make(code, fieldsPerDay - 10);

    EXPECT_EQ(Timecode::signedFieldDifference(early, late), static_cast<int>(fieldsPerDay) - 16);
    EXPECT_EQ(Timecode::signedFieldDifference(late, early), 16 - static_cast<int>(fieldsPerDay));
    EXPECT_EQ(Timecode::signedFieldDifference(late, late), 0);
}

TEST_P(TimecodeRateTest, comparisonsCompareFieldCounts)
{
    const Timecode early = make(GetParam().code, 6);
    const Timecode late = make(GetParam().code, 7);
    const Timecode alsoLate = make(GetParam().code, 7);

    EXPECT_TRUE(late == alsoLate);
    EXPECT_FALSE(early == late);
    EXPECT_TRUE(early != late);
    EXPECT_FALSE(late != alsoLate);
    EXPECT_TRUE(early < late);
    EXPECT_FALSE(late < early);
    EXPECT_FALSE(late < alsoLate);
    EXPECT_TRUE(late > early);
    EXPECT_FALSE(early > late);
    EXPECT_FALSE(late > alsoLate);
}

TEST_P(TimecodeRateTest, theFieldSenseFollowsTheFieldCount)
{
    EXPECT_EQ(make(GetParam().code, 0).getFieldSense(), Timecode::FieldSense::Field1);
    EXPECT_EQ(make(GetParam().code, 1).getFieldSense(), Timecode::FieldSense::Field2);
    EXPECT_EQ(make(GetParam().code, 3600).getFieldSense(), Timecode::FieldSense::Field1);
    EXPECT_EQ(make(GetParam().code, 3601).getFieldSense(), Timecode::FieldSense::Field2);
}

TEST_P(TimecodeRateTest, compositionWrapsIntoTheDay)
{
    const auto& [code, fieldsPerDay, fieldsPerSecond] = GetParam();

    EXPECT_EQ(Timecode(TimeOfDay{.hours = 24, .minutes = 0, .seconds = 0, .fieldInSecond = 3, .code = code}).fields(),
              3U);
    EXPECT_EQ(Timecode(TimeOfDay{.hours = 0, .minutes = 0, .seconds = 0, .fieldInSecond = fieldsPerDay, .code = code})
                  .fields(),
              0U);
}

TEST(TimecodeTest, aNewTimecodeIsUndefined)
{
    const Timecode sut;

    EXPECT_TRUE(sut.isUndefined());
    EXPECT_EQ(sut.word(), 0U);
    EXPECT_EQ(sut.getFPS(), Code::Undefined);
}

TEST(TimecodeTest, theWordHoldsFieldsAndCode)
{
    const Timecode sut(0x02000e10);

    EXPECT_EQ(sut.fields(), 3600U);
    EXPECT_EQ(sut.getFPS(), Code::Fps2997Drop);
    EXPECT_EQ(sut.word(), 0x02000e10U);
    EXPECT_FALSE(sut.isUndefined());
}

TEST(TimecodeTest, theUpperFiveBitsAreDropped)
{
    EXPECT_EQ(Timecode(0xffffffff).word(), 0x07ffffffU);
    EXPECT_EQ(Timecode(0xf9000001).word(), 0x01000001U);
}

TEST(TimecodeTest, codesWithoutAFrameRateAreUndefined)
{
    for (const std::uint32_t code : {0U, 4U, 5U, 6U, 7U})
    {
        EXPECT_TRUE(Timecode((code << 24) | 1000U).isUndefined()) << code;
    }
}

TEST(TimecodeTest, compositionWithAnUndefinedCodeIsUndefined)
{
    EXPECT_EQ(Timecode(TimeOfDay{.hours = 1, .minutes = 2, .seconds = 3, .fieldInSecond = 4}).word(), 0U);
}

TEST(TimecodeTest, dropFrameKnowsItsKnownPlaces)
{
    const TimeOfDay minuteOne{.hours = 0, .minutes = 1, .seconds = 0, .fieldInSecond = 4, .code = Code::Fps2997Drop};
    const TimeOfDay minuteTen{.hours = 0, .minutes = 10, .seconds = 0, .fieldInSecond = 0, .code = Code::Fps2997Drop};
    const TimeOfDay hourOne{.hours = 1, .minutes = 0, .seconds = 0, .fieldInSecond = 0, .code = Code::Fps2997Drop};

    EXPECT_EQ(make(Code::Fps2997Drop, 3600).timeOfDay(), minuteOne);
    EXPECT_EQ(make(Code::Fps2997Drop, 35964).timeOfDay(), minuteTen);
    EXPECT_EQ(make(Code::Fps2997Drop, 215784).timeOfDay(), hourOne);
    EXPECT_EQ(Timecode(minuteOne).fields(), 3600U);
    EXPECT_EQ(Timecode(minuteTen).fields(), 35964U);
    EXPECT_EQ(Timecode(hourOne).fields(), 215784U);
}

TEST(TimecodeTest, aDroppedFieldNumberBecomesTheFirstOneOfItsMinute)
{
    for (const std::uint32_t dropped : {0U, 1U, 2U, 3U})
    {
        const TimeOfDay time{
            .hours = 0, .minutes = 1, .seconds = 0, .fieldInSecond = dropped, .code = Code::Fps2997Drop};
        EXPECT_EQ(Timecode(time).fields(), 3600U);
    }
}

TEST(TimecodeTest, aCountBeyondTheDayIsTakenApartAsItIs)
{
    EXPECT_EQ(make(Code::Fps25, 0xffffff).timeOfDay().hours, 93U);
    EXPECT_EQ(make(Code::Fps2997Drop, 0xffffff).timeOfDay().hours, 77U);
    EXPECT_EQ(make(Code::Fps30, 0xffffff).timeOfDay().hours, 77U);
}

TEST(TimecodeTest, aCountBeyondTheDayIsWrappedInDistances)
{
    const Timecode beyond = make(Code::Fps25, fieldsPerDay25 + 5);
    const Timecode zero = make(Code::Fps25, 0);

    EXPECT_EQ(Timecode::numFieldsClockwise(zero, beyond), 5);
    EXPECT_EQ(Timecode::numFieldsClockwise(beyond, zero), static_cast<int>(fieldsPerDay25) - 5);
}

#ifdef NDEBUG

TEST(TimecodeTest, anUndefinedOneAnswersZerosWhereNothingAsserts)
{
    const Timecode undefined;
    const Timecode defined = make(Code::Fps25, 1000);
    Timecode sut;

    EXPECT_EQ(sut.timeOfDay(), TimeOfDay());
    EXPECT_EQ(sut.getFieldSense(), Timecode::FieldSense::Field1);
    sut += 5;
    sut -= 3;
    EXPECT_EQ(sut.word(), 0U);
    EXPECT_EQ(Timecode::numFieldsClockwise(undefined, defined), 0);
    EXPECT_TRUE(undefined < defined);
}

#else

TEST(TimecodeDeathTest, whatNeedsADefinedTimecodeAssertsIt)
{
    Timecode undefined;
    const Timecode defined = make(Code::Fps25, 1000);

    EXPECT_DEATH(static_cast<void>(undefined.timeOfDay()), "`!isUndefined\\(\\)'");
    EXPECT_DEATH(static_cast<void>(undefined.getFieldSense()), "`!isUndefined\\(\\)'");
    EXPECT_DEATH(undefined += 1, "`!isUndefined\\(\\)'");
    EXPECT_DEATH(undefined -= 1, "`!isUndefined\\(\\)'");
    EXPECT_DEATH(static_cast<void>(undefined == defined), "`!isUndefined\\(\\)'");
    EXPECT_DEATH(static_cast<void>(undefined != defined), "`!isUndefined\\(\\)'");
    EXPECT_DEATH(static_cast<void>(undefined < defined), "`!isUndefined\\(\\)'");
    EXPECT_DEATH(static_cast<void>(undefined > defined), "assert|Assert");
}

TEST(TimecodeDeathTest, comparisonsAssertOneFrameRate)
{
    const Timecode fps25 = make(Code::Fps25, 1000);
    const Timecode fps30 = make(Code::Fps30, 1000);
    const char* const text = "`getFPS\\(\\) == tc.getFPS\\(\\)'";

    EXPECT_DEATH(static_cast<void>(fps25 == fps30), text);
    EXPECT_DEATH(static_cast<void>(fps25 != fps30), text);
    EXPECT_DEATH(static_cast<void>(fps25 < fps30), text);
    EXPECT_DEATH(static_cast<void>(fps25 > fps30), text);
    EXPECT_DEATH(static_cast<void>(fps25 == Timecode()), text);
}

TEST(TimecodeDeathTest, distancesAssertBothEnds)
{
    const Timecode undefined;
    const Timecode defined = make(Code::Fps25, 1000);
    const char* const fromText = "`!from.isUndefined\\(\\)'";
    const char* const toText = "`!to.isUndefined\\(\\)'";

    EXPECT_DEATH(Timecode::signedFieldDifference(undefined, defined), fromText);
    EXPECT_DEATH(Timecode::signedFieldDifference(defined, undefined), toText);
    EXPECT_DEATH(Timecode::numFieldsClockwise(undefined, defined), fromText);
    EXPECT_DEATH(Timecode::numFieldsClockwise(defined, undefined), toText);
    EXPECT_DEATH(Timecode::numFramesClockwise(undefined, defined), fromText);
    EXPECT_DEATH(Timecode::numFramesClockwise(defined, undefined), toText);
}

#endif

} // namespace
