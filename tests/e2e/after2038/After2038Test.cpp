#include "durability/SourceTime.h"
#include "tests/e2e/after2038/LaterClock.h"
#include "tests/e2e/durable/DurableFixture.h"
#include "tests/support/Places.h"
#include "tests/support/WaitUntil.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <string>

namespace e2e
{
namespace
{

namespace durability = com::tallowcrest::durability;
using testsupport::ChildProcess;
using testsupport::waitUntil;

/// The bridge with a clock that is ahead of the machine's. Everything around it lives today.
class After2038Test : public DurableFixture
{
protected:
    static const std::filesystem::path& laterBridge()
    {
        static const std::filesystem::path path = testsupport::buildFolder() / "tests" / "later_bridge";
        return path;
    }
    static std::int64_t laterNow() { return std::int64_t{std::time(nullptr)} + laterBySeconds; }
    static std::string laterYear()
    {
        using namespace std::chrono;
        const sys_seconds now{seconds(laterNow())};
        return std::to_string(static_cast<int>(year_month_day(floor<days>(now)).year()));
    }

    /// Waits until a store holds an input for an output; when that was written, in microseconds since 1970.
    static durability::SourceTime writtenFor(const std::filesystem::path& store, std::uint32_t input,
                                             std::uint32_t output)
    {
        const std::string sql = "SELECT written " + stored(input, output);
        durability::SourceTime written = 0;
        std::string said;
        EXPECT_TRUE(waitUntil([&] {
            ChildProcess look("/usr/bin/sqlite3", {"-readonly", store.string(), sql});
            look.waitForExit();
            said = look.output() + look.errors();
            written = std::strtoll(look.output().c_str(), nullptr, 10);
            return written != 0;
        })) << said;
        return written;
    }
};

TEST_F(After2038Test, LogAndLinkSayTheTimeThatItIs)
{
    setProgram(laterBridge());
    router().announce();
    startJoinedOnStore();

    const auto status = connectController().systemStatus(2);

    ASSERT_EQ(status.words.size(), 16U);
    EXPECT_NEAR(static_cast<double>(status.words.at(9)), static_cast<double>(laterNow()), 60.0);
    EXPECT_TRUE(bridge().output().starts_with(laterYear() + "-")) << laterYear();
}

TEST_F(After2038Test, WhatIsTakenLaterReplacesWhatWasTakenBefore)
{
    router().announce();
    startJoinedOnStore();
    take(5, 7);
    const auto today = writtenFor(store(), 5, 7);
    kill();
    record().clear();

    setProgram(laterBridge());
    startJoinedOnStore();
    EXPECT_TRUE(hasTarget(5, 7));
    take(6, 7);
    const auto later = writtenFor(store(), 6, 7);
    kill();
    record().clear();
    startJoinedOnStore();
    EXPECT_TRUE(hasTarget(6, 7));
    take(8, 7);
    const auto latest = writtenFor(store(), 8, 7);

    EXPECT_GE(later, durability::latestBelieved);
    EXPECT_LT(today, later);
    EXPECT_LT(later, latest);
    EXPECT_LT(latest, durability::latestOnBus);
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(After2038Test, AnotherBridgeKeepsTheTargetUnderTheSameTime)
{
    setProgram(laterBridge());
    router().announce();
    startJoinedOnStore();
    take(5, 7);
    const auto store2 = directory() / "second.db";
    // Its ports are taken, which does not matter here.
    ChildProcess second(
        laterBridge(), {"17", "4", "Bridge Two", "another"},
        {{{"KORABRIDGE_DURABLE_STORE", store2.string()}, {"KORABRIDGE_DURABLE_MEMORY", directory().string()}}, false});

    EXPECT_EQ(writtenFor(store2, 5, 7), writtenFor(store(), 5, 7));
    second.signal(SIGTERM);
    EXPECT_EQ(second.waitForExit(), 0) << second.output();
}

TEST_F(After2038Test, CorruptStoreIsSetAsideUnderItsDate)
{
    testsupport::writeFile(store(), std::string(4096, 'x'));
    setProgram(laterBridge());
    router().announce();

    startJoinedOnStore();

    const std::string aside = "is corrupt; it is now " + store().string() + ".corrupt-" + laterYear();
    EXPECT_TRUE(bridge().waitForOutput(aside));
}

} // namespace
} // namespace e2e
