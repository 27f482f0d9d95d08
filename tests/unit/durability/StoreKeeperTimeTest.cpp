// What is promised of the store within a time.
#include "durability/StoreKeeper.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TempDir.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

using namespace com::tallowcrest::durability;
using testsupport::waitUntil;

TEST(StoreKeeperTimeTest, CommitsWhatIsDueSoon)
{
    const testsupport::TempDir directory;
    const std::filesystem::path path = directory.path() / "durable.db";
    const ChannelName channel{"R1", "Topic"};
    StoreKeeper sut(path, [] {});
    ASSERT_TRUE(waitUntil([&] { return sut.hasTried(channel); }));
    SqliteConnection reader(path.string());
    testsupport::StallMeter stalls;

    const auto took = stalls.workedDuring([&] {
        sut.put({channel, "7", "T", 1001, "{}"});
        sut.wake();
        EXPECT_TRUE(waitUntil([&] { return reader.number("SELECT count(*) FROM durable_sample") == 1; }));
    });

    EXPECT_LT(took, testsupport::scaled(std::chrono::seconds(2)));
}
