#include "tools/korapanel/access/Throttle.h"

#include <gtest/gtest.h>

using namespace korapanel;
using namespace std::chrono_literals;

TEST(Throttle, GivenFailuresWaitsTwiceAsLongEachTimeUpToAMinute)
{
    Throttle sut;
    Throttle::Clock::time_point now{};
    for (const auto wanted : {1s, 2s, 4s, 8s, 16s, 32s, 60s, 60s})
    {
        sut.failed("10.0.0.5", now);
        EXPECT_EQ(sut.waitOf("10.0.0.5", now), wanted);
        EXPECT_EQ(sut.waitOf("10.0.0.6", now), 0s);
        now += wanted;
        EXPECT_EQ(sut.waitOf("10.0.0.5", now), 0s);
    }
}

TEST(Throttle, GivenSuccessForgetsTheFailures)
{
    Throttle sut;
    sut.failed("10.0.0.5", {});
    sut.failed("10.0.0.5", {});

    sut.succeeded("10.0.0.5");
    sut.failed("10.0.0.5", {});

    EXPECT_EQ(sut.waitOf("10.0.0.5", {}), 1s);
}

TEST(Throttle, GivenMoreAddressesThanTheBoundForgetsTheOneThatWaitsLeast)
{
    Throttle sut;
    sut.failed("least", {});
    for (std::size_t i = 1; i <= Throttle::mostAddresses; ++i)
    {
        sut.failed(std::to_string(i), Throttle::Clock::time_point(5s));
    }

    EXPECT_EQ(sut.size(), Throttle::mostAddresses);
    EXPECT_EQ(sut.waitOf("least", {}), 0s);
    EXPECT_EQ(sut.waitOf("1", Throttle::Clock::time_point(5s)), 1s);
}
