#include "ddskorabridge/LevelBudget.h"

#include <gtest/gtest.h>

namespace
{

using com::tallowcrest::dds_::routing::largestLevel;

TEST(LevelBudget, AdmitsAsManyLevelsAsThereMayBeOfBothSignalTypesTogether)
{
    LevelBudget sut;
    for (std::uint32_t levelId = 0; levelId < LevelBudget::mostLevels / 2; ++levelId)
    {
        ASSERT_TRUE(sut.admit(true, levelId, 1));
        ASSERT_TRUE(sut.admit(false, levelId, 1));
    }

    EXPECT_FALSE(sut.admit(true, 60000, 1));
    EXPECT_FALSE(sut.admit(false, 60000, 1));
}

TEST(LevelBudget, ReplacesALevelHoweverManyThereAre)
{
    LevelBudget sut;
    for (std::uint32_t levelId = 0; levelId < LevelBudget::mostLevels; ++levelId)
    {
        ASSERT_TRUE(sut.admit(true, levelId, 1));
    }

    EXPECT_TRUE(sut.admit(true, 7, 100));
}

TEST(LevelBudget, AdmitsTheLargestLevelFourTimes)
{
    LevelBudget sut;
    for (std::uint32_t levelId = 0; levelId < 4; ++levelId)
    {
        ASSERT_TRUE(sut.admit(true, levelId, largestLevel));
    }

    EXPECT_FALSE(sut.admit(true, 4, 1));
}

TEST(LevelBudget, WhatALevelHadGoesToWhatReplacesIt)
{
    LevelBudget sut;
    for (int round = 0; round < 100; ++round)
    {
        ASSERT_TRUE(sut.admit(true, 1, largestLevel));
        ASSERT_TRUE(sut.admit(true, 1, 10));
    }
    for (std::uint32_t levelId = 2; levelId < 5; ++levelId)
    {
        ASSERT_TRUE(sut.admit(true, levelId, largestLevel));
    }

    EXPECT_TRUE(sut.admit(false, 1, largestLevel - 10));
    EXPECT_FALSE(sut.admit(true, 1, 11)) << "all is given out";
    EXPECT_TRUE(sut.admit(true, 1, 10)) << "a refusal changes nothing";
}

TEST(LevelBudget, ClearedHasRoomForAll)
{
    LevelBudget sut;
    for (std::uint32_t levelId = 0; levelId < 4; ++levelId)
    {
        sut.admit(true, levelId, largestLevel);
    }

    sut.clear();

    for (std::uint32_t levelId = 10; levelId < 14; ++levelId)
    {
        EXPECT_TRUE(sut.admit(false, levelId, largestLevel));
    }
}

} // namespace
