#include "tests/e2e/faults/ShippedLogFixture.h"

#include <fstream>

namespace e2e
{
namespace
{

using namespace std::chrono_literals;

class LogDiskTest : public ShippedLogFixture
{
protected:
    void fillDisk() { std::ofstream(logDirectory() / "filler") << std::string(std::size_t{64} * 1024 * 1024, 'x'); }
    void freeDisk() { std::filesystem::remove(logDirectory() / "filler"); }
};

TEST_F(LogDiskTest, FullDiskCostsLinesAndNothingElse)
{
    startWithShippedLog("1m");
    auto first = connectController();
    ASSERT_TRUE(waitForLog("connectionId 0"));

    fillDisk();
    for (int i = 0; i < 2000; ++i) // a line each, where there is room
    {
        ASSERT_EQ(first.request(0x99, {}).id(), 0x80000000U);
    }
    auto second = connectController();
    EXPECT_TRUE(testsupport::waitUntil(
        [&] { return second.take({{.level = videoLevel, .lprId = 1, .input = 1, .output = 1}}).at(0) == 0; }));
    EXPECT_TRUE(takesReachTheRouter(first, 2));
    EXPECT_LT(processorShare(2s), 0.2);
    EXPECT_EQ(countOf(bridge().errors(), "korabridge: log lines are lost until this is fixed: "), 1U);
    EXPECT_LT(bridge().errors().size(), 1000U) << bridge().errors();

    freeDisk();
    ASSERT_EQ(first.request(0x98, {}).id(), 0x80000000U);
    EXPECT_TRUE(waitForLog("Unprocessed Cmd: 0x00000098 Unexpected Msg"));
    EXPECT_TRUE(waitForLog(" log lines were lost, "));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(LogDiskTest, TurningToANewFileWithoutADescriptorCostsLinesUntilThereIsOne)
{
    startWithShippedLog("32m");
    auto controller = connectController();
    ASSERT_EQ(controller.request(0x99, {}).id(), 0x80000000U); // let in, so it has its descriptor
    setLimit(RLIMIT_NOFILE, 3);

    for (int i = 0; i < 30000; ++i) // more than one file holds
    {
        ASSERT_EQ(controller.request(0x99, {}).id(), 0x80000000U);
    }
    ASSERT_TRUE(testsupport::waitUntil([&] { return countOf(bridge().errors(), "log lines are lost") == 1; }))
        << bridge().errors();
    EXPECT_TRUE(takesReachTheRouter(controller, 2));

    setLimit(RLIMIT_NOFILE, 1024);
    EXPECT_TRUE(testsupport::waitUntil([&] {
        controller.request(0x98, {});
        return logText().find(" log lines were lost, Too many open files") != std::string::npos;
    }));
    EXPECT_NE(logText().find("Unprocessed Cmd: 0x00000098 Unexpected Msg"), std::string::npos);
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(LogDiskTest, StandardOutputOnAFullDiskCostsLinesAndNothingElse)
{
    startAfter("exec >/dev/full");
    router().announce();
    ASSERT_TRUE(testsupport::waitForPort(koraPort, 30s));
    auto controller = connectController();

    EXPECT_EQ(controller.request(0x99, {}).id(), 0x80000000U);
    EXPECT_TRUE(testsupport::waitUntil(
        [&] { return controller.take({{.level = videoLevel, .lprId = 1, .input = 1, .output = 1}}).at(0) == 0; }));
    EXPECT_TRUE(takesReachTheRouter(controller, 2));
    EXPECT_EQ(stopBridge(), 0);
}

} // namespace
} // namespace e2e
