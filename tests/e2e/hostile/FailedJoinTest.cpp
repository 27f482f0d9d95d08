#include "koraclient/Errors.h"
#include "koraclient/KoraClient.h"
#include "tests/e2e/allocations/BridgeWithin.h"
#include "tests/support/BusCalls.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <string>
#include <vector>

using koraclient::KoraClient;
using testsupport::waitUntil;

namespace
{

constexpr std::uint32_t videoLevel = 1;
/// Joins behind levels and targets.
constexpr const char* videoStatus = "TopicMacroXptOutputVideoStatus";

/// A bus that has no reader to give in the middle of a join.
class FailedJoinTest : public BridgeWithin
{
protected:
    static KoraClient connect()
    {
        return KoraClient("127.0.0.1", koraPort, testsupport::scaled(std::chrono::seconds(10)));
    }
    static bool isServed(KoraClient& controller)
    {
        try
        {
            return controller.portPresent() == 0;
        }
        catch (const koraclient::KoraError&)
        {
            return false;
        }
    }
    std::size_t attempts() const
    {
        return m_log.count(std::string("INFO ") + videoStatus + " joinRouterPartition(routerPartition 'R2')");
    }

    testsupport::BusCalls m_bus;
    testsupport::LogRecorder m_log;
};

} // namespace

TEST_F(FailedJoinTest, ItIsCompletedAsSoonAsTheBusCanAndControllersAreNotLetInBefore)
{
    auto controller = connect();
    ASSERT_TRUE(isServed(controller));
    m_bus.failReaders(videoStatus, DDS_RETCODE_OUT_OF_RESOURCES);

    m_router.write("reannounce R2\n");

    ASSERT_TRUE(m_log.waitForHolding("WARN joining router partition 'R2' failed and is tried again: "));
    EXPECT_TRUE(testsupport::waitForClosedPort(koraPort));
    EXPECT_FALSE(isServed(controller)) << "some parts are in one partition and some in the other";
    EXPECT_TRUE(waitUntil([this] { return attempts() >= 3; })) << "twice a second";
    EXPECT_FALSE(testsupport::isListening(koraPort));
    EXPECT_EQ(m_log.countHolding("failed and is tried again"), 1U);

    m_bus.failReaders(videoStatus, DDS_RETCODE_OK);

    ASSERT_TRUE(testsupport::waitForPort(koraPort));
    EXPECT_TRUE(m_log.waitForHolding("times: joining router partition 'R2' failed and is tried again: "));
    auto again = connect();
    ASSERT_TRUE(waitUntil([&] {
        return again.take({{.level = videoLevel, .lprId = 0, .input = 5, .output = 7}}) ==
               std::vector<std::uint32_t>{0};
    }));
    EXPECT_TRUE(m_router.waitForOutput("target video output 7 input 5")) << "the router is in the new partition";
}

TEST_F(FailedJoinTest, ControllersStayWhenTheirOwnPartitionIsRefreshedAndThatFails)
{
    auto controller = connect();
    ASSERT_TRUE(isServed(controller));
    m_bus.failReaders(videoStatus, DDS_RETCODE_OUT_OF_RESOURCES);

    m_router.write("reannounce\n");

    ASSERT_TRUE(m_log.waitForHolding("WARN joining router partition 'R1' failed and is tried again: "));
    EXPECT_TRUE(isServed(controller));
    m_bus.failReaders(videoStatus, DDS_RETCODE_OK);
    EXPECT_TRUE(m_log.waitFor("INFO connected to router\n"));
    EXPECT_TRUE(isServed(controller));
}
