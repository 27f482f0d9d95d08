#include "tests/e2e/durable/TwoBridges.h"

#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <vector>

using namespace e2e;

namespace
{

class TwoBridgesTest : public TwoBridges
{};

} // namespace

TEST_F(TwoBridgesTest, BridgeThatWasAwayComesBackWithWhatTheOtherSetMeanwhile)
{
    startNear();
    startFar();
    {
        auto far = connectFar();
        auto near = connectController();
        take(far, 5, 7);
        take(far, 11, 12);
        take(near, 6, 8);
    }
    waitOutLossBound(*m_far);
    killFar();
    auto near = connectController();
    take(near, 50, 7);
    take(near, 60, 9);
    record().clear();

    startFar();

    const std::map<std::uint32_t, std::uint32_t> routes{{7, 50}, {8, 6}, {9, 60}, {12, 11}};
    for (const auto& [output, input] : routes)
    {
        ASSERT_TRUE(record().waitForTarget(Signal::Video, output)) << output;
    }
    expectOnlyRoutes(routes);
    auto far = connectFar();
    for (const auto& [output, input] : routes)
    {
        EXPECT_TRUE(waitForInput(far, videoLevel, output, input));
    }
}

TEST_F(TwoBridgesTest, RoutesStayWhileABridgeIsRestartedUnderTakesOfTheOther)
{
    const std::size_t rounds = numberFromEnvironment("KORABRIDGE_TWO_BRIDGES_ROUNDS", 4);
    startNear();
    startFar();
    std::uint32_t input = 1;
    {
        auto far = connectFar();
        for (std::uint32_t output = 1; output <= 20; ++output)
        {
            take(far, input, output);
        }
    }
    auto near = connectController();
    for (std::size_t round = 0; round < rounds && !HasFatalFailure(); ++round)
    {
        SCOPED_TRACE("round " + std::to_string(round));
        waitOutLossBound(*m_far);
        killFar();
        ++input;
        for (std::uint32_t output = 1; output <= 10; ++output)
        {
            take(near, input, output);
        }
        record().clear();
        startFar();
        std::map<std::uint32_t, std::uint32_t> routes;
        for (std::uint32_t output = 1; output <= 20; ++output)
        {
            routes[output] = output <= 10 ? input : 1;
            ASSERT_TRUE(record().waitForTarget(Signal::Video, output)) << output;
        }
        expectOnlyRoutes(routes);
    }
}

TEST_F(TwoBridgesTest, BridgeWithoutAStoreGetsEverythingFromTheOther)
{
    startNear();
    {
        auto near = connectController();
        take(near, 6, 8);
    }
    record().clear();

    startFar();

    const auto target = record().waitForTarget(Signal::Video, 8);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->macroXptInput, 6U);
}

TEST_F(TwoBridgesTest, MembershipThatIsAnnouncedAgainHoldsUpNobodyAndFindsNobodySilent)
{
    startNear();
    startFar();
    auto near = connectController();
    take(near, 5, 7);
    waitOutLossBound(bridge());
    const auto numJoins = [this] {
        const std::string log = bridge().output();
        std::size_t count = 0;
        for (std::size_t at = log.find("connected to router"); at != std::string::npos;
             at = log.find("connected to router", at + 1))
        {
            ++count;
        }
        return count;
    };

    std::chrono::milliseconds longest{0};
    for (std::size_t again = 2; again <= 4; ++again)
    {
        m_membership->write({nearFrame, "R1", 1});
        EXPECT_TRUE(testsupport::waitUntil([&] {
            const auto asked = std::chrono::steady_clock::now();
            near.tally(videoLevel, 1, 288);
            const auto answered = std::chrono::steady_clock::now();
            longest = std::max(longest, std::chrono::duration_cast<std::chrono::milliseconds>(answered - asked));
            return numJoins() >= again;
        })) << again;
    }

    EXPECT_LT(longest, testsupport::scaled(std::chrono::milliseconds(500)));
    EXPECT_EQ(bridge().output().find("silent"), std::string::npos) << bridge().output();
}

TEST_F(TwoBridgesTest, LockThatABridgeLearnsOfLateHoldsThere)
{
    startNear();
    startFar();
    {
        auto far = connectFar();
        take(far, 11, 7);
    }
    waitOutLossBound(*m_far);
    killFar();
    {
        auto near = connectController();
        take(near, 50, 7);
        ASSERT_EQ(near.setOutputLpr({{videoLevel, 7, koraclient::LprCommand::lock, 42}}).results,
                  std::vector<std::uint32_t>{0});
    }
    ASSERT_TRUE(record().waitForTarget(Signal::Video, 7, isLocked));
    record().clear();
    startThenConnectFar();

    auto far = connectFar();
    // It publishes what it learns, which is how we know that it has.
    ASSERT_TRUE(record().waitForTarget(Signal::Video, 7, isLocked));
    EXPECT_EQ(far.take({{videoLevel, 1, 11, 7}}), std::vector<std::uint32_t>{12});
    EXPECT_EQ(record().lastTarget(Signal::Video, 7)->macroXptInput, 50U);
}

TEST_F(TwoBridgesTest, WhereTargetsAreSharedALockHoldsOnEveryBridgeAndKeepsTheNewestRoute)
{
    m_isShared = true;
    startNear();
    startFar();
    auto near = connectController();
    auto far = connectFar();
    take(near, 5, 7);
    take(far, 6, 7);

    std::this_thread::sleep_for(testsupport::scaled(tablesFollow));

    ASSERT_EQ(near.setOutputLpr({{videoLevel, 7, koraclient::LprCommand::lock, 42}}).results,
              std::vector<std::uint32_t>{0});
    const auto locked = record().waitForTarget(Signal::Video, 7, isLocked);
    ASSERT_TRUE(locked);
    EXPECT_EQ(locked->macroXptInput, 6U) << "a lock never brings back an older route";
    std::this_thread::sleep_for(testsupport::scaled(tablesFollow));
    EXPECT_EQ(far.take({{videoLevel, 1, 11, 7}}), std::vector<std::uint32_t>{12});
    EXPECT_EQ(record().lastTarget(Signal::Video, 7)->macroXptInput, 6U);
}
