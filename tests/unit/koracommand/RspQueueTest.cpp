#include "koracommand/RspQueue.h"

#include "koracommand/RspBase.h"
#include "tests/support/TimeFactor.h"
#include "tests/unit/koracommand/TestMessages.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

namespace
{

using namespace std::chrono_literals;

std::unique_ptr<Rsp> rspWithTag(std::uint32_t tag)
{
    const Bytes request = hostRequest(0x99, {}, tag);
    return std::make_unique<ErrorRsp>(WireReader(request), 8);
}

TEST(RspQueueTest, ResponsesComeOutInTheOrderInWhichTheyWentIn)
{
    RspQueue sut;
    for (std::uint32_t tag = 1; tag <= 10; ++tag)
    {
        sut.push(rspWithTag(tag));
    }
    for (std::uint32_t tag = 1; tag <= 10; ++tag)
    {
        EXPECT_EQ(hostWord(*sut.pop(), 16), tag);
    }
}

TEST(RspQueueTest, PopWaitsForAPush)
{
    RspQueue sut;
    auto popped = std::async(std::launch::async, [&] { return sut.pop(); });
    EXPECT_EQ(popped.wait_for(20ms), std::future_status::timeout);
    sut.push(rspWithTag(7));
    ASSERT_EQ(popped.wait_for(testsupport::scaled(10s)), std::future_status::ready);
    EXPECT_EQ(hostWord(*popped.get(), 16), 7U);
}

TEST(RspQueueTest, PopWithinGivesUpWhenNothingComes)
{
    RspQueue sut;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(sut.popWithin(20ms).has_value());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

TEST(RspQueueTest, PopWithinTakesWhatIsThere)
{
    RspQueue sut;
    sut.push(rspWithTag(7));
    const auto popped = sut.popWithin(0ms);
    ASSERT_TRUE(popped.has_value());
    EXPECT_EQ(hostWord(**popped, 16), 7U);
    EXPECT_FALSE(sut.popWithin(0ms).has_value());
}

TEST(RspQueueTest, EmptyPointerIsAnEntryToo)
{
    RspQueue sut;
    sut.push(nullptr);
    const auto popped = sut.popWithin(0ms);
    ASSERT_TRUE(popped.has_value());
    EXPECT_EQ(*popped, nullptr);
}

TEST(RspQueueTest, ResponsesLeftBehindAreReleased)
{
    const auto before = ErrorRsp::pool().snapshot().available;
    {
        RspQueue sut;
        sut.push(rspWithTag(1));
        ASSERT_EQ(ErrorRsp::pool().snapshot().available, before - 1);
    }
    EXPECT_EQ(ErrorRsp::pool().snapshot().available, before);
}

TEST(RspQueueTest, PingPongBetweenTwoThreadsLosesNothing)
{
    RspQueue sut;
    constexpr std::uint32_t rounds = 2000;
    std::thread pusher([&] {
        for (std::uint32_t tag = 1; tag <= rounds; ++tag)
        {
            sut.push(rspWithTag(tag));
        }
    });
    for (std::uint32_t tag = 1; tag <= rounds; ++tag)
    {
        ASSERT_EQ(hostWord(*sut.pop(), 16), tag);
    }
    pusher.join();
}

} // namespace
