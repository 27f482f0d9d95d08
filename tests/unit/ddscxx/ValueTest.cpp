#include "dds/core/Reference.hpp"
#include "dds/core/Status.hpp"
#include "dds/core/Time.hpp"

#include <gtest/gtest.h>

#include <chrono>

using dds::core::Duration;
using dds::core::status::StatusMask;
using namespace std::chrono_literals;

TEST(Duration, CountsTheSameSpanFromAllItsSources)
{
    EXPECT_EQ(Duration::from_secs(20), Duration(20s));
    EXPECT_EQ(Duration::from_millisecs(100), Duration(100ms));
    EXPECT_EQ(Duration(1500ms).to_chrono(), 1500ms);
}

TEST(InstanceHandle, NilIsTheDefaultAndNoOther)
{
    EXPECT_TRUE(dds::core::InstanceHandle().is_nil());
    EXPECT_FALSE(dds::core::InstanceHandle(1).is_nil());
}

TEST(StatusMask, BitsAreThoseOfTheStandard)
{
    EXPECT_EQ(StatusMask::requested_deadline_missed().to_ulong(), 0x0004U);
    EXPECT_EQ(StatusMask::requested_incompatible_qos().to_ulong(), 0x0040U);
    EXPECT_EQ(StatusMask::sample_rejected().to_ulong(), 0x0100U);
    EXPECT_EQ(StatusMask::liveliness_changed().to_ulong(), 0x1000U);
    EXPECT_EQ(StatusMask::data_available().to_ulong(), 0x0400U);
    EXPECT_EQ(StatusMask::subscription_matched().to_ulong(), 0x4000U);
    EXPECT_EQ(StatusMask::sample_lost().to_ulong(), 0x0080U);
    EXPECT_EQ(StatusMask::none().to_ulong(), 0U);
}

TEST(StatusMask, ContainsWhatWasPutIn)
{
    constexpr StatusMask mask = StatusMask::data_available() | StatusMask::sample_lost();

    EXPECT_TRUE(mask.contains(StatusMask::data_available()));
    EXPECT_TRUE(mask.contains(StatusMask::sample_lost()));
    EXPECT_FALSE(mask.contains(StatusMask::sample_rejected()));
    EXPECT_FALSE(mask.contains(StatusMask::data_available() | StatusMask::sample_rejected()));
}

TEST(StatusMask, AllAreTheSevenOfAReader)
{
    EXPECT_EQ(StatusMask::all().to_ulong(), 0x55C4U);
}
