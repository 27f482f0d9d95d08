#include "ddskorabridge/Mapping.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>

namespace
{

constexpr std::uint32_t last = std::numeric_limits<std::uint32_t>::max();

const MappingNumbers one{.numXptsPer = 1,
                         .xptInputStart = 101,
                         .numXptInputs = 10,
                         .controllerInputStart = 1,
                         .xptOutputStart = 201,
                         .numXptOutputs = 20,
                         .controllerOutputStart = 31};

TEST(Mapping, ControllerNumbersMapOntoTheirBlocks)
{
    const Mapping sut(one);

    EXPECT_EQ(sut.controllerInputToXpt(1), 101U);
    EXPECT_EQ(sut.controllerInputToXpt(10), 110U);
    EXPECT_EQ(sut.controllerOutputToXpt(31), 201U);
    EXPECT_EQ(sut.controllerOutputToXpt(50), 220U);
}

TEST(Mapping, ControllerNumbersOutsideTheBlockAreInvalid)
{
    const Mapping sut(one);

    EXPECT_EQ(sut.controllerInputToXpt(0), std::nullopt);
    EXPECT_EQ(sut.controllerInputToXpt(11), std::nullopt);
    EXPECT_EQ(sut.controllerOutputToXpt(30), std::nullopt);
    EXPECT_EQ(sut.controllerOutputToXpt(51), std::nullopt);
    EXPECT_EQ(sut.controllerOutputToXpt(last), std::nullopt);
}

TEST(Mapping, CrosspointsMapBackOntoControllerNumbers)
{
    const Mapping sut(one);

    EXPECT_EQ(sut.xptInputToController(101), 1U);
    EXPECT_EQ(sut.xptInputToController(110), 10U);
    EXPECT_EQ(sut.xptInputToController(100), std::nullopt);
    EXPECT_EQ(sut.xptInputToController(111), std::nullopt);
    EXPECT_EQ(sut.xptOutputToController(201), 31U);
    EXPECT_EQ(sut.xptOutputToController(220), 50U);
    EXPECT_EQ(sut.xptOutputToController(200), std::nullopt);
    EXPECT_EQ(sut.xptOutputToController(221), std::nullopt);
}

/// Counted one by one.
std::uint64_t validFrom(const Mapping& mapping, std::uint32_t number)
{
    std::uint64_t count = 0;
    while (mapping.isValidControllerOutput(number))
    {
        ++count;
        ++number;
    }
    return count;
}

TEST(Mapping, ValidNumbersInARowAreThoseThatAreValidOneByOne)
{
    for (const MappingNumbers& numbers :
         {one, MappingNumbers{.numXptsPer = 3, .xptOutputStart = 7, .numXptOutputs = 20, .controllerOutputStart = 5},
          MappingNumbers{.xptOutputStart = last - 3, .numXptOutputs = 20, .controllerOutputStart = 31},
          MappingNumbers{.numXptsPer = 2, .xptOutputStart = last - 8, .numXptOutputs = 20, .controllerOutputStart = 1},
          MappingNumbers{.xptOutputStart = 1, .numXptOutputs = 20, .controllerOutputStart = last - 4}})
    {
        const Mapping sut(numbers);
        const std::uint32_t start = numbers.controllerOutputStart;
        for (std::uint32_t number = start - 2; number != start + 25; ++number)
        {
            EXPECT_EQ(sut.outputs().controllersFrom(number), validFrom(sut, number)) << number;
        }
    }
}

TEST(Mapping, ValidityOfControllerNumbersAlone)
{
    const Mapping sut(one);

    EXPECT_TRUE(sut.isValidControllerInput(10));
    EXPECT_FALSE(sut.isValidControllerInput(11));
    EXPECT_TRUE(sut.isValidControllerOutput(31));
    EXPECT_FALSE(sut.isValidControllerOutput(30));
    EXPECT_EQ(sut.numXptsPer(), 1U);
}

TEST(Mapping, SeveralCrosspointsPerControllerNumber)
{
    const Mapping sut({.numXptsPer = 4,
                       .xptInputStart = 1,
                       .numXptInputs = 18, // four groups and a rest of two
                       .controllerInputStart = 10,
                       .xptOutputStart = 100,
                       .numXptOutputs = 8,
                       .controllerOutputStart = 1});

    EXPECT_EQ(sut.controllerInputToXpt(13), 13U);
    EXPECT_EQ(sut.controllerInputToXpt(14), std::nullopt);
    EXPECT_EQ(sut.controllerOutputToXpt(2), 104U);
    EXPECT_EQ(sut.xptInputToController(4), 10U);
    EXPECT_EQ(sut.xptInputToController(5), 11U);
    EXPECT_EQ(sut.xptInputToController(18), 14U);
    EXPECT_EQ(sut.xptOutputToController(107), 2U);
}

TEST(Mapping, EmptyBlocksHoldNothing)
{
    const Mapping sut({.controllerInputStart = 1, .controllerOutputStart = 1});

    EXPECT_FALSE(sut.isValidControllerInput(1));
    EXPECT_FALSE(sut.isValidControllerOutput(1));
    EXPECT_EQ(sut.xptInputToController(0), std::nullopt);
    EXPECT_EQ(sut.xptOutputToController(0), std::nullopt);
}

TEST(Mapping, ABlockOfCrosspointsMayReachTheEndOf32Bits)
{
    const Mapping sut({.xptInputStart = last - 9, .numXptInputs = 100, .controllerInputStart = 1});

    EXPECT_EQ(sut.xptInputToController(last), 10U);
    EXPECT_EQ(sut.xptInputToController(0), std::nullopt);
}

TEST(Mapping, ABlockOfControllerNumbersMayReachTheEndOf32Bits)
{
    const Mapping sut({.xptInputStart = 1,
                       .numXptInputs = 100,
                       .controllerInputStart = last - 9,
                       .xptOutputStart = 1,
                       .numXptOutputs = last,
                       .controllerOutputStart = 1});

    EXPECT_EQ(sut.controllerInputToXpt(last), 10U);
    EXPECT_EQ(sut.controllerInputToXpt(last - 10), std::nullopt);
    EXPECT_EQ(sut.controllerInputToXpt(0), std::nullopt);
    EXPECT_EQ(sut.controllerOutputToXpt(last), last);
    EXPECT_EQ(sut.controllerOutputToXpt(0), std::nullopt);
}

TEST(Mapping, ANumberWhoseOtherSideDoesNotFitIn32BitsIsInvalid)
{
    const Mapping sut({.xptInputStart = last - 1,
                       .numXptInputs = 10,
                       .controllerInputStart = 1,
                       .xptOutputStart = 1,
                       .numXptOutputs = 10,
                       .controllerOutputStart = last - 1});

    EXPECT_EQ(sut.controllerInputToXpt(2), last);
    EXPECT_EQ(sut.controllerInputToXpt(3), std::nullopt);
    EXPECT_EQ(sut.xptOutputToController(2), last);
    EXPECT_EQ(sut.xptOutputToController(3), std::nullopt);
}

} // namespace
