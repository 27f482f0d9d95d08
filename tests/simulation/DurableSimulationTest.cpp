#include "tests/simulation/World.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <string>

using namespace simulation;

namespace
{

/// How many worlds are tried unless the environment says otherwise: each takes some 60 ms of an optimised build.
#ifdef __SANITIZE_ADDRESS__
constexpr std::uint64_t usualSeeds = 10;
#else
constexpr std::uint64_t usualSeeds = 120;
#endif

World::Settings settingsOf(std::uint64_t seed)
{
    World::Settings settings;
    settings.seed = seed;
    settings.bridges = 2 + seed % 4;
    settings.isShared = seed / 4 % 2 == 1;
    return settings;
}

std::string linesOf(const std::vector<std::string>& lines)
{
    return std::accumulate(lines.begin(), lines.end(), std::string(),
                           [](const std::string& all, const std::string& line) { return all + line + "\n"; });
}

/// The number in an environment variable, else `otherwise`.
std::uint64_t numberFromEnvironment(const char* name, std::uint64_t otherwise)
{
    const char* const text = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nobody changes it
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

struct SabotageCase
{
    const char* name;
    Sabotage sabotage;
    const char* noticedAs;
    bool isShared = false;
};

class SabotageTest : public testing::TestWithParam<SabotageCase>
{};

} // namespace

TEST(DurableSimulationTest, NothingIsViolated)
{
    const std::uint64_t first = numberFromEnvironment("KORABRIDGE_SIMULATION_SEED", 1);
    const std::uint64_t end = first + numberFromEnvironment("KORABRIDGE_SIMULATION_SEEDS", usualSeeds);
    std::uint64_t steps = 0;
    for (std::uint64_t seed = first; seed < end && !HasFailure(); ++seed)
    {
        World world(settingsOf(seed));
        EXPECT_EQ(linesOf(world.run()), "") << "seed " << seed << "; KORABRIDGE_SIMULATION_SEED=" << seed
                                            << " KORABRIDGE_SIMULATION_SEEDS=1 repeats it";
        steps += world.steps();
    }
    std::cout << "seeds from " << first << " to " << end - 1 << ", " << steps << " steps\n";
}

TEST_P(SabotageTest, IsNoticed)
{
    std::string all;
    for (std::uint64_t seed = 1; seed <= 200 && all.find(GetParam().noticedAs) == std::string::npos; ++seed)
    {
        World::Settings settings = settingsOf(seed);
        settings.sabotage = GetParam().sabotage;
        settings.isShared = GetParam().isShared;
        all += linesOf(World(settings).run());
    }
    EXPECT_NE(all.find(GetParam().noticedAs), std::string::npos) << all;
}

INSTANTIATE_TEST_SUITE_P(
    , SabotageTest,
    testing::Values(SabotageCase{"StoresNothing", Sabotage::StoresNothing, "lost"},
                    SabotageCase{"RemembersNothing", Sabotage::RemembersNothing, "lost"},
                    SabotageCase{"PublishesHistoryAsNew", Sabotage::PublishesHistoryAsNew, "as a new decision"},
                    SabotageCase{"CorrectsNothing", Sabotage::CorrectsNothing, "on air"},
                    SabotageCase{"TellsNothing", Sabotage::TellsNothing, "do not agree"},
                    SabotageCase{"TrustsItsClock", Sabotage::TrustsItsClock, "older than what its author knew"},
                    SabotageCase{"NeverReadsTheStore", Sabotage::NeverReadsTheStore, "a join does not end"},
                    SabotageCase{"AdoptsNothing", Sabotage::AdoptsNothing, "the table of bridge", true}),
    [](const testing::TestParamInfo<SabotageCase>& tested) { return tested.param.name; });
