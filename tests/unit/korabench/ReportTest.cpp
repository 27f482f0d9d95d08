#include "bench/korabench/Report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

using namespace korabench;
using namespace std::chrono_literals;

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
