#include <atomic>
#include <csignal>
#include <map>
#include <random>
#include <thread>

#include "tests/e2e/durable/DurableFixture.h"
#include "tests/support/WaitUntil.h"
#include "tools/koractl/Errors.h"

using namespace e2e;

namespace
{

/// Kills the bridge at random moments while a controller takes and locks, and looks at what the next life publishes.
class KillRoundsTest : public DurableFixture
{
protected:
    using Clock = std::chrono::steady_clock;
    static constexpr std::uint32_t outputs = 288;
    /// What was answered this long before the death must be there.
    static constexpr std::chrono::milliseconds lossBound{100};

    struct Request
    {
        std::uint32_t input = 0;
        bool isLock = false;
        Clock::time_point answered = Clock::time_point::max(); ///< never, when the bridge died first
    };

    /// Takes and locks without a pause until the bridge is gone.
    void load(koractl::KoraClient client, std::uint32_t seed)
    {
        std::mt19937 random(seed);
        std::uniform_int_distribution<std::uint32_t> number(1, outputs);
        try
        {
            while (true)
            {
                // Locks on the upper outputs, so that no take is refused.
                const std::uint32_t output = number(random);
                const bool isLock = output > outputs / 2;
                Request& request = m_requests[output].emplace_back(Request{number(random), isLock});
                const auto result =
                    isLock
                        ? client.setOutputLpr({{videoLevel, output, koractl::LprCommand::lock, request.input}}).results
                        : client.take({{videoLevel, 7, request.input, output}});
                if (result == std::vector<std::uint32_t>{0})
                {
                    request.answered = Clock::now();
                }
                else
                {
                    m_requests[output].pop_back(); // refused: an output that somebody else holds
                }
            }
        }
        catch (const std::exception&)
        {
            m_isOver = true;
        }
    }
    static bool matches(const MacroXptOutput& target, const Request& request)
    {
        return request.isLock
                   ? target.lprId == request.input && target.lprState == com::tallowcrest::dds_::routing::LPR_LOCKED
                   : target.macroXptInput == request.input;
    }
    /// True when the target is the last request that was answered in time, or a later one.
    static bool isAllowed(const MacroXptOutput& target, const std::vector<Request>& requests, Clock::time_point death)
    {
        bool isAllowed = false;
        for (const Request& request : requests)
        {
            isAllowed = isAllowed || matches(target, request);
            if (request.answered <= death - lossBound)
            {
                isAllowed = matches(target, request);
            }
        }
        return isAllowed;
    }
    std::string describe(std::uint32_t output, const std::vector<Request>& requests, Clock::time_point death)
    {
        std::string text = "nothing came";
        if (const auto last = record().lastTarget(Signal::Video, output))
        {
            text = "input " + std::to_string(last->macroXptInput) + " holder " + std::to_string(last->lprId) +
                   " state " + std::to_string(last->lprState);
        }
        for (const Request& request : requests)
        {
            text += (request.isLock ? ", lock " : ", take ") + std::to_string(request.input);
            text += request.answered > death
                        ? " unanswered"
                        : " answered " +
                              std::to_string(std::chrono::duration<double>(death - request.answered).count()) +
                              " s before";
        }
        return text;
    }
    void expectNothingLost(Clock::time_point death)
    {
        for (auto& [output, requests] : m_requests)
        {
            const bool mustBeThere = std::any_of(requests.begin(), requests.end(), [&](const Request& request) {
                return request.answered <= death - lossBound;
            });
            if (!mustBeThere)
            {
                continue;
            }
            const auto target = record().waitForTarget(
                Signal::Video, output,
                [&](const MacroXptOutput& candidate) { return isAllowed(candidate, requests, death); },
                std::chrono::seconds(5));
            ASSERT_TRUE(target) << "output " << output << ": " << describe(output, requests, death);
            // From here on this is what the output is known to be.
            requests = {Request{requests.front().isLock ? target->lprId : target->macroXptInput,
                                requests.front().isLock, Clock::time_point::min()}};
        }
    }

    /// What was answered too shortly before a death that others follow may be gone, as if it had not been answered.
    void releaseLast(Clock::time_point death)
    {
        for (auto& [output, requests] : m_requests)
        {
            for (Request& request : requests)
            {
                if (request.answered > death - lossBound)
                {
                    request.answered = Clock::time_point::max();
                }
            }
        }
    }

    std::map<std::uint32_t, std::vector<Request>> m_requests;
    std::atomic<bool> m_isOver{false};
};

} // namespace

TEST_F(KillRoundsTest, WhatWasAnsweredAHundredMillisecondsBeforeTheDeathIsThere)
{
    // 100 rounds take some minutes: KORABRIDGE_KILL_ROUNDS=100.
    const std::size_t rounds = numberFromEnvironment("KORABRIDGE_KILL_ROUNDS", 8);
    const auto seed = static_cast<std::uint32_t>(numberFromEnvironment("KORABRIDGE_KILL_SEED", 1));
    std::mt19937 random(seed);
    router().announce();
    for (std::size_t round = 0; round < rounds && !HasFatalFailure(); ++round)
    {
        SCOPED_TRACE("round " + std::to_string(round));
        startJoinedOnStore();
        std::thread controller(
            [&, seedOfRound = static_cast<std::uint32_t>(random())] { load(connectController(), seedOfRound); });
        std::this_thread::sleep_for(std::chrono::milliseconds(150 + random() % 400));
        const auto death = Clock::now();
        kill();
        controller.join();
        record().clear();
        startJoinedOnStore();
        expectNothingLost(death);
        releaseLast(death);
        kill();
    }
    EXPECT_EQ(storeText("PRAGMA integrity_check"), "ok");
}

TEST_F(KillRoundsTest, StormOfRestartsLeavesASoundAndSmallStore)
{
    const std::size_t restarts = numberFromEnvironment("KORABRIDGE_STORM_RESTARTS", 50);
    std::mt19937 random(2);
    router().announce();
    auto death = Clock::now();
    for (std::size_t i = 0; i < restarts && !HasFatalFailure(); ++i)
    {
        startOnStore();
        // Some die before they are ready, others under load.
        std::thread controller;
        if (i % 2 == 0)
        {
            waitForJoin();
            controller =
                std::thread([&, seed = static_cast<std::uint32_t>(random())] { load(connectController(), seed); });
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 300));
        const auto now = Clock::now();
        kill();
        if (controller.joinable())
        {
            death = now;
            controller.join();
            releaseLast(death);
        }
    }
    record().clear();

    startJoinedOnStore();

    expectNothingLost(death);
    kill();
    EXPECT_EQ(storeText("PRAGMA integrity_check"), "ok");
    EXPECT_LE(std::stoul(storeText("SELECT count(*) FROM durable_sample")), outputs);
    std::uintmax_t size = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory()))
    {
        size += entry.file_size();
    }
    EXPECT_LT(size, 12U << 20U);
}
