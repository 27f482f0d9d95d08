#include "tests/e2e/durable/DurableController.h"
#include "tests/e2e/durable/DurableFixture.h"
#include "tests/support/StallMeter.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>

using namespace e2e;
using namespace std::chrono_literals;

namespace
{

/// Kills the bridge at random moments while controllers take, lock and release, and looks at what the next life
/// publishes.
class KillRoundsTest : public DurableFixture
{
protected:
    using Clock = DurableController::Clock;
    using Figures = DurableController::Figures;
    using Controllers = std::vector<std::unique_ptr<DurableController>>;
    static constexpr std::uint32_t numControllers = 4;
    static constexpr std::size_t outputs = 288 + 2304;

    static Controllers makeControllers(std::uint32_t seed, std::uint32_t count = numControllers)
    {
        Controllers controllers;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            controllers.push_back(std::make_unique<DurableController>(i, count, seed * count + i));
        }
        return controllers;
    }

    /// Kills the bridge after a while of load, which begins when each controller has had some of everything
    /// acknowledged if that is asked for. Returns the moment up to which all that was answered must be kept.
    Clock::time_point killUnderLoad(Controllers& controllers, bool isEverythingFirst, std::chrono::milliseconds after)
    {
        m_recorderStalls.watchOnly(bridge().pid(), "Durable record");
        std::atomic<bool> isKilled{false};
        std::vector<std::thread> threads;
        for (auto& controller : controllers)
        {
            threads.emplace_back([&isKilled, &controller, client = connectController()]() mutable {
                controller->load(std::move(client), isKilled);
            });
        }
        if (isEverythingFirst)
        {
            EXPECT_TRUE(testsupport::waitUntil([&] {
                return std::all_of(controllers.begin(), controllers.end(),
                                   [](const auto& controller) { return controller->hasDoneEverything(); });
            })) << "a controller was not served";
            const auto begin = Clock::now();
            EXPECT_TRUE(testsupport::waitUntil([&] { return m_recorderStalls.workedSince(begin) > lossBound; }, 30s));
        }
        std::this_thread::sleep_for(after); // how long the load lasts is what is tried
        isKilled = true;
        const auto death = Clock::now();
        kill();
        for (auto& thread : threads)
        {
            thread.join();
        }
        for (const auto& controller : controllers)
        {
            EXPECT_EQ(controller->failure(), "");
        }
        m_recorderStalls.watch(0);
        return keptUntil(death);
    }

    Clock::time_point keptUntil(Clock::time_point death)
    {
        Clock::time_point kept = death - lossBound;
        while (m_recorderStalls.workedBetween(kept, death) < lossBound)
        {
            kept -= 5ms;
        }
        return kept;
    }

    /// What the bridge that lives now has published of the last load, of each controller.
    std::vector<Figures> expectNothingLost(Controllers& controllers, Clock::time_point kept)
    {
        std::vector<Figures> published;
        for (auto& controller : controllers)
        {
            std::string lost;
            published.push_back(controller->expectNothingLost(record(), kept, lost));
            EXPECT_EQ(lost, "");
        }
        return published;
    }

    /// The highest number of a request that has reached the store.
    std::uint32_t newestInStore()
    {
        return static_cast<std::uint32_t>(
            std::stoul(storeText("SELECT coalesce(max(json_extract(payload, '$.lprId')), 0) FROM durable_sample")));
    }

    testsupport::StallMeter m_recorderStalls;
};

} // namespace

namespace
{

struct Variant
{
    const char* name;
    std::uint32_t controllers; ///< the fewer there are, the more outputs has each, and the more entries its messages
    bool isDiskSlow;
};

class KillVariants : public KillRoundsTest, public testing::WithParamInterface<Variant>
{
protected:
    void SetUp() override
    {
        if (GetParam().isDiskSlow && !std::filesystem::exists(testsupport::programPath("libslow_disk.so")))
        {
            GTEST_SKIP() << "built without the slow disk";
        }
    }
    void startOnThisDisk()
    {
        std::map<std::string, std::string> environment;
        if (GetParam().isDiskSlow)
        {
            environment["LD_PRELOAD"] = testsupport::programPath("libslow_disk.so").string();
        }
        startJoinedOnStore(environment);
    }
};

INSTANTIATE_TEST_SUITE_P(KillRounds, KillVariants,
                         testing::Values(Variant{"OneController", 1, false}, Variant{"FourControllers", 4, false},
                                         Variant{"SixteenControllers", 16, false},
                                         Variant{"SixteenControllersOnASlowDisk", 16, true}),
                         [](const auto& variant) { return std::string(variant.param.name); });

} // namespace

TEST_P(KillVariants, WhatWasAnsweredAHundredMillisecondsBeforeTheDeathIsThere)
{
    // 100 rounds take some minutes: KORABRIDGE_KILL_ROUNDS=100.
    const std::size_t rounds = numberFromEnvironment("KORABRIDGE_KILL_ROUNDS", 3);
    const auto seed = static_cast<std::uint32_t>(numberFromEnvironment("KORABRIDGE_KILL_SEED", 1));
    std::mt19937 random(seed);
    auto controllers = makeControllers(seed, GetParam().controllers);
    std::uint32_t newestBefore = 0;
    router().announce();
    for (std::size_t round = 0; round < rounds && !HasFailure(); ++round)
    {
        SCOPED_TRACE("round " + std::to_string(round) + " of seed " + std::to_string(seed));
        startOnThisDisk();
        const auto kept = killUnderLoad(controllers, true, std::chrono::milliseconds(10 + random() % 400));
        record().clear();
        startOnThisDisk();
        for (const Figures& published : expectNothingLost(controllers, kept))
        {
            EXPECT_TRUE(published.hasEverything())
                << "of the round before, " << published.videoTakes << " video takes, " << published.audioTakes
                << " audio takes, " << published.locks << " locks and releases";
        }
        EXPECT_TRUE(testsupport::waitUntil([&] { return newestInStore() > newestBefore; }, 60s)); // 5 ms a page
        newestBefore = newestInStore();
        for (auto& controller : controllers)
        {
            controller->releaseAfter(kept);
        }
        kill();
    }
    EXPECT_EQ(storeText("PRAGMA integrity_check"), "ok");
}

TEST_F(KillRoundsTest, StormOfRestartsLeavesASoundAndSmallStore)
{
    const std::size_t restarts = numberFromEnvironment("KORABRIDGE_STORM_RESTARTS", 50);
    std::mt19937 random(2);
    auto controllers = makeControllers(2);
    router().announce();
    auto kept = Clock::time_point::min();
    for (std::size_t i = 0; i < restarts && !HasFailure(); ++i)
    {
        startOnStore();
        // Some die before they are ready, others under load.
        const std::chrono::milliseconds after(random() % 300);
        if (i % 2 == 0)
        {
            waitForJoin();
            kept = killUnderLoad(controllers, false, after);
            for (auto& controller : controllers)
            {
                controller->releaseAfter(kept);
            }
        }
        else
        {
            std::this_thread::sleep_for(after); // the moment of the death is what is tried
            kill();
        }
    }
    record().clear();

    startJoinedOnStore();

    expectNothingLost(controllers, kept); // of all loads
    kill();
    EXPECT_EQ(storeText("PRAGMA integrity_check"), "ok");
    const std::size_t rows = std::stoul(storeText("SELECT count(*) FROM durable_sample"));
    EXPECT_GT(rows, numControllers);
    EXPECT_LE(rows, outputs);
    std::uintmax_t size = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory()))
    {
        size += entry.file_size();
    }
    EXPECT_LT(size, 12U << 20U);
}
