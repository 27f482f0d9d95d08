#include "runtime/util/Metrics.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

using namespace com::tallowcrest::util;

TEST(MetricsTest, EachNameIsToldOnceWithItsSamples)
{
    Counter locked("test_refusals_total", "Refusals.", "reason=\"locked\"");
    Gauge controllers("test_controllers", "Controllers.");
    Counter absent("test_refusals_total", "Refusals.", "reason=\"absent\"");

    locked.add();
    locked.add(2);
    controllers.set(5);
    controllers.add(-7);

    EXPECT_EQ(metricsText(), "# HELP test_controllers Controllers.\n"
                             "# TYPE test_controllers gauge\n"
                             "test_controllers -2\n"
                             "# HELP test_refusals_total Refusals.\n"
                             "# TYPE test_refusals_total counter\n"
                             "test_refusals_total{reason=\"absent\"} 0\n"
                             "test_refusals_total{reason=\"locked\"} 3\n");
}

TEST(MetricsTest, HistogramCountsUpToEachBoundAndSumsSeconds)
{
    static constexpr std::array<std::uint32_t, 3> bounds{50, 1000, 2500000};
    Histogram times("test_seconds", "Times.", bounds, "kind=\"a\"");

    for (const std::uint64_t time : {1U, 50U, 51U, 1000U, 2500001U})
    {
        times.observe(time);
    }

    EXPECT_EQ(metricsText(), "# HELP test_seconds Times.\n"
                             "# TYPE test_seconds histogram\n"
                             "test_seconds_bucket{kind=\"a\",le=\"0.00005\"} 2\n"
                             "test_seconds_bucket{kind=\"a\",le=\"0.001\"} 4\n"
                             "test_seconds_bucket{kind=\"a\",le=\"2.5\"} 4\n"
                             "test_seconds_bucket{kind=\"a\",le=\"+Inf\"} 5\n"
                             "test_seconds_sum{kind=\"a\"} 2.501103\n"
                             "test_seconds_count{kind=\"a\"} 5\n");
}

TEST(MetricsTest, MoreBoundsThanThereIsRoomForAreLeftOut)
{
    static constexpr std::array<std::uint32_t, Histogram::maxBounds + 1> bounds{1, 2,  3,  4,  5,  6,  7,  8,
                                                                                9, 10, 11, 12, 13, 14, 15, 16};
    Histogram times("test_seconds", "Times.", bounds);

    times.observe(16);

    EXPECT_EQ(metricsText().find("0.000016\"}"), std::string::npos);
    EXPECT_NE(metricsText().find("test_seconds_bucket{le=\"+Inf\"} 1\n"), std::string::npos);
}

TEST(MetricsTest, WhatHasGoneIsToldNoMore)
{
    {
        const Counter gone("test_total", "Gone.");
    }
    EXPECT_EQ(metricsText(), "");
}

TEST(MetricsTest, GaugeIsFoundByItsName)
{
    Gauge gauge("test_gauge", "A gauge.");
    const Counter counter("test_total", "A counter.");
    gauge.set(3);

    EXPECT_EQ(gaugeValue("test_gauge"), 3);
    EXPECT_EQ(gaugeValue("test_total"), std::nullopt);
    EXPECT_EQ(gaugeValue("test"), std::nullopt);
}

TEST(MetricsTest, CountsOfANameAreAddedAndThoseOfItsLabelsCanBeHadAlone)
{
    constexpr std::array<std::uint32_t, 1> bounds{1000};
    Counter locked("test_refusals_total", "Refusals.", "reason=\"locked\"");
    Counter absent("test_refusals_total", "Refusals.", "reason=\"absent\"");
    Gauge level("test_level", "Level.");
    Histogram times("test_seconds", "Times.", bounds);
    locked.add(2);
    absent.add(5);
    level.set(4);
    times.observe(1);
    times.observe(2000);

    EXPECT_EQ(countOf("test_refusals_total"), 7U);
    EXPECT_EQ(countOf("test_refusals_total", "reason=\"locked\""), 2U);
    EXPECT_EQ(countOf("test_seconds"), 2U);
    EXPECT_EQ(countOf("test_level"), 0U) << "nothing happens in a gauge";
    EXPECT_THROW(countOf("test_refusal_total"), std::logic_error);
    EXPECT_THROW(countOf("test_refusals_total", "reason=\"lost\""), std::logic_error);
}
