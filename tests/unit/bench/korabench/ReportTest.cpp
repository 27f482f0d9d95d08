#include "bench/korabench/Report.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace korabench;
using namespace std::chrono_literals;

namespace
{

/// 1, 2, ... `count` microseconds, the largest first.
LatencyStats countedUpTo(int count)
{
    LatencyStats stats;
    for (int i = count; i > 0; --i)
    {
        stats.add(std::chrono::microseconds(i));
    }
    return stats;
}

} // namespace

TEST(LatencyStats, GivenNothingAnswersZero)
{
    const LatencyStats sut;

    EXPECT_EQ(sut.count(), 0U);
    EXPECT_EQ(sut.percentile(0.5), 0ns);
    EXPECT_EQ(sut.max(), 0ns);
    EXPECT_EQ(sut.mean(), 0ns);
}

TEST(LatencyStats, GivenOneLatencyEveryShareIsIt)
{
    LatencyStats sut;

    sut.add(7us);

    EXPECT_EQ(sut.percentile(0.001), 7us);
    EXPECT_EQ(sut.percentile(0.5), 7us);
    EXPECT_EQ(sut.max(), 7us);
}

TEST(LatencyStats, GivenAnEvenCountTheMedianIsTheLowerOfTheTwoInTheMiddle)
{
    EXPECT_EQ(countedUpTo(10).percentile(0.5), 5us);
    EXPECT_EQ(countedUpTo(11).percentile(0.5), 6us);
}

TEST(LatencyStats, GivenThousandLatenciesSharesAreRanks)
{
    const LatencyStats sut = countedUpTo(1000);

    EXPECT_EQ(sut.percentile(0.5), 500us);
    EXPECT_EQ(sut.percentile(0.99), 990us);
    EXPECT_EQ(sut.percentile(0.999), 999us);
    EXPECT_EQ(sut.max(), 1000us);
    EXPECT_EQ(sut.mean(), 500500ns);
}

TEST(LatencyStats, GivenFewLatenciesAHighShareIsTheLargest)
{
    EXPECT_EQ(countedUpTo(99).percentile(0.99), 99us);
    EXPECT_EQ(countedUpTo(100).percentile(0.99), 99us);
    EXPECT_EQ(countedUpTo(101).percentile(0.99), 100us);
}

TEST(LatencyStats, GivenMoreLatenciesAfterAnAnswerCountsThemToo)
{
    LatencyStats sut = countedUpTo(3);
    ASSERT_EQ(sut.max(), 3us);

    sut.add(1us);
    sut.add(9us);

    EXPECT_EQ(sut.max(), 9us);
    EXPECT_EQ(sut.percentile(0.4), 1us);
}

TEST(LatencyStats, GivenTwoThreadsMergesTheirLatencies)
{
    LatencyStats sut = countedUpTo(10);
    LatencyStats other;
    other.add(100us);

    sut.merge(other);

    EXPECT_EQ(sut.count(), 11U);
    EXPECT_EQ(sut.max(), 100us);
    EXPECT_EQ(sut.percentile(0.5), 6us);
}

TEST(LatencyStats, GivenALatencyBeyondItsRangeCountsTheMost)
{
    LatencyStats sut;

    sut.add(5s);

    EXPECT_EQ(sut.max(), 4294967295ns);
}

TEST(LatencyStats, GivenRoomReservedHoldsNothingYet)
{
    LatencyStats sut;

    sut.reserve(100);

    EXPECT_EQ(sut.count(), 0U);
}

namespace
{

Report report()
{
    Report result;
    result.connections = 2;
    result.seconds = 2;
    result.requests = 4;
    result.allRequests = 5;
    result.takes = 6;
    for (const auto latency : {10us, 20us, 30us})
    {
        result.latencies[Command::Take].add(latency);
    }
    result.latencies[Command::Tally].add(40us);
    result.latencies[Command::Status];
    return result;
}

} // namespace

TEST(Report, GivenAnOutcomeJsonHasRatesAndLatencies)
{
    const auto json = nlohmann::json::parse(jsonOf(report()));

    EXPECT_EQ(json["requestsPerSecond"], 2.0);
    EXPECT_EQ(json["takesPerSecond"], 3.0);
    EXPECT_EQ(json["allRequests"], 5);
    EXPECT_EQ(json["latency"]["p50"], 20.0);
    EXPECT_EQ(json["latency"]["max"], 40.0);
    EXPECT_EQ(json["latency"]["mean"], 25.0);
    EXPECT_EQ(json["perCommand"]["take"]["p99"], 30.0);
    EXPECT_EQ(json["perCommand"]["tally"]["count"], 1);
    EXPECT_FALSE(json["perCommand"].contains("status"));
    EXPECT_FALSE(json.contains("changesCompleteAt"));
}

TEST(Report, GivenAnOutcomeTextHasALineForEachCommandAndForAll)
{
    const std::string text = textOf(report());

    EXPECT_NE(text.find("2 connections, 2.00 s: 2 requests/s, 3 takes/s"), std::string::npos) << text;
    EXPECT_NE(text.find("\ntake "), std::string::npos) << text;
    EXPECT_NE(text.find("\ntally "), std::string::npos) << text;
    EXPECT_NE(text.find("\nall "), std::string::npos) << text;
    EXPECT_EQ(text.find("\nstatus "), std::string::npos) << text;
}

TEST(Report, GivenNoTimeRatesAreZero)
{
    const auto json = nlohmann::json::parse(jsonOf(Report()));

    EXPECT_EQ(json["requestsPerSecond"], 0.0);
    EXPECT_EQ(json["latency"]["p50"], 0.0);
}

TEST(Report, GivenChangesAwaitedJsonSaysWhenTheyWereComplete)
{
    Report outcome = report();
    outcome.changesCompleteAt.emplace_back(5ms);

    EXPECT_EQ(nlohmann::json::parse(jsonOf(outcome))["changesCompleteAt"], nlohmann::json::array({5000000}));
}
