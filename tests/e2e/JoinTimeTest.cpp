// What is promised of a join within a time.
#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TimeFactor.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

using namespace e2e;

namespace
{

using JoinTimeTest = BridgeFixture;

} // namespace

TEST_F(JoinTimeTest, ParticipantThatHangsHoldsUpNobodyDuringAJoin)
{
    testsupport::ChildProcess hanging(testsupport::programPath("korasim"), {"--frame", "99", "--silent"});
    startJoined();
    auto client = connectController();
    ASSERT_EQ(client.take({{videoLevel, 0, 1, 1}, {audioLevel, 0, 1, 1}}), (std::vector<std::uint32_t>{0, 0}));
    ASSERT_TRUE(hanging.waitForOutput("target video output 1"));
    hanging.signal(SIGSTOP);
    ASSERT_EQ(client.take({{videoLevel, 0, 2, 1}, {audioLevel, 0, 2, 1}}), (std::vector<std::uint32_t>{0, 0}));
    testsupport::StallMeter stalls;
    stalls.watch(bridge().pid());
    const std::size_t before = bridge().output().size();

    router().reAnnounce();

    // The earlier writers of both signals have something that one reader will not confirm; nobody waits for it.
    testsupport::StallMeter::Clock::duration longest{0};
    ASSERT_TRUE(testsupport::waitUntil([&] {
        longest = std::max(longest, stalls.workedDuring([&] { client.portPresent(); }));
        const std::string said = bridge().output();
        const std::size_t first = said.find("Back  waiting for historical data)", before);
        return first != std::string::npos &&
               said.find("Back  waiting for historical data)", first + 1) != std::string::npos;
    }));
    EXPECT_LE(longest, testsupport::scaled(std::chrono::milliseconds(20)));
}

TEST_F(JoinTimeTest, NoAnswerTakesLongerThan20MillisecondsWhileAFullRouterIsJoinedAgain)
{
    startJoined();
    auto client = connectController();
    takeEverything(client);
    testsupport::StallMeter stalls;
    stalls.watch(bridge().pid());
    const std::size_t before = bridge().output().size();

    std::atomic<bool> isAnnounced{false};
    std::thread announcing([this, &isAnnounced] {
        router().announce(); // and every status with it
        isAnnounced = true;
    });
    testsupport::StallMeter::Clock::duration longest{0};
    std::uint32_t number = 0;
    EXPECT_TRUE(testsupport::waitUntil([&] {
        ++number;
        longest = std::max(longest, stalls.workedDuring([&] {
            EXPECT_EQ(client.take({{videoLevel, 0, 1 + number % 288, 1}}), std::vector<std::uint32_t>{0});
        }));
        return isAnnounced && bridge().output().find("connected to router", before) != std::string::npos;
    }));
    announcing.join();
    std::cerr << "LONGEST " << std::chrono::duration<double, std::milli>(longest).count() << " ms of " << number
              << "\n";

    EXPECT_LE(longest, testsupport::scaled(std::chrono::milliseconds(20)));
}
