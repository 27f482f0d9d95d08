// What is promised of the store within a time.
#include "durability/StoreKeeper.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TempDir.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>

using namespace com::tallowcrest::durability;
using testsupport::waitUntil;

TEST(StoreKeeperTimeTest, CommitsWhatIsDueSoon)
{
    const testsupport::TempDir directory;
    const std::filesystem::path path = directory.path() / "durable.db";
    com::tallowcrest::util::WakeEvent recorder;
    ChannelList channels{recorder};
    StoreKeeper sut(path, channels, [] {});
    ASSERT_TRUE(waitUntil([&] { return sut.hasTried(); }));
    SqliteConnection reader(path.string());
    const BusOutput sample = busOutput(7, 5);
    testsupport::StallMeter stalls;

    const auto took = stalls.workedDuring([&] {
        channels.get({"R1", "Topic"}, outputCodec())->apply("7", &sample, 1001, Channel::Origin::Writer);
        sut.wake();
        EXPECT_TRUE(waitUntil([&] { return reader.number("SELECT count(*) FROM durable_sample") == 1; }));
    });

    EXPECT_LT(took, testsupport::scaled(std::chrono::seconds(2)));
}
