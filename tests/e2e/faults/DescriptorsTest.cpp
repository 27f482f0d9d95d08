#include "koraclient/RequestEncoder.h"
#include "tests/e2e/faults/FaultFixture.h"

#include <csignal>

namespace e2e
{
namespace
{

using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::TcpSocket;

class DescriptorsTest : public FaultFixture
{
protected:
    DescriptorsTest() { switchLeakCheckOff(); }

    /// From now on the program gets no descriptor any more, however many it closes meanwhile.
    void takeAwayDescriptors() { setLimit(RLIMIT_NOFILE, 3); }
    void giveDescriptorsBack() { setLimit(RLIMIT_NOFILE, 1024); }
};

TEST_F(DescriptorsTest, StartWithoutEnoughEndsWithStatusOneAndSaysWhatIsMissing)
{
    std::vector<std::unique_ptr<ChildProcess>> bridges;
    for (const char* limit : {"5", "7", "9", "10", "11", "12", "14", "18", "22"})
    {
        bridges.push_back(bridgeAfter(std::string("ulimit -n ") + limit));
    }

    for (auto& bridge : bridges)
    {
        EXPECT_EQ(bridge->waitForExit(40s), 1) << bridge->errors();
        EXPECT_NE(bridge->errors().find("korabridge: not enough resources to start: "), std::string::npos);
        EXPECT_NE(bridge->errors().find(" of 24 descriptors available (ulimit -n), Too many open files"),
                  std::string::npos)
            << bridge->errors();
        EXPECT_EQ(countOf(bridge->output(), "not enough resources to start"), 1U) << bridge->output();
    }
}

TEST_F(DescriptorsTest, StartGoesOnWhenEnoughComeInTime)
{
    startAfter("ulimit -S -n 9");
    ASSERT_TRUE(bridge().waitForOutput("not enough resources to start"));

    giveDescriptorsBack();

    router().announce();
    waitForJoin();
    auto controller = connectController();
    EXPECT_TRUE(takesReachTheRouter(controller, 5));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(DescriptorsTest, ControllerThatCannotBeAcceptedWaitsWhileTheOthersWorkAndIsServedLater)
{
    startJoined();
    auto first = connectController();
    ASSERT_TRUE(takesReachTheRouter(first, 1));
    takeAwayDescriptors();

    auto second = TcpSocket::connect(koraPort);
    ASSERT_TRUE(second);
    second->send(testsupport::asText(koraclient::RequestEncoder(7).partitionInfo()));
    ASSERT_TRUE(bridge().waitForOutput("listen failed socket"));

    // Neither the processor nor the log pays for the one who waits, and nobody else notices.
    EXPECT_LT(processorShare(4s), 0.2);
    EXPECT_EQ(countOf(bridge().output(), "listen failed socket"), 1U);
    EXPECT_TRUE(takesReachTheRouter(first, 2));

    giveDescriptorsBack();
    EXPECT_EQ(second->receive(88).size(), 88U);
    EXPECT_TRUE(bridge().waitForOutput("times: listen failed socket")); // what was held back is counted
    EXPECT_TRUE(takesReachTheRouter(first, 3));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(DescriptorsTest, OperatorThatCannotBeAcceptedIsServedLater)
{
    startJoined();
    takeAwayDescriptors();

    auto operatorSocket = TcpSocket::connect(telnetPort);
    ASSERT_TRUE(operatorSocket);
    ASSERT_TRUE(bridge().waitForOutput("accept failed socket"));
    EXPECT_LT(processorShare(3s), 0.2);
    EXPECT_EQ(countOf(bridge().output(), "accept failed socket"), 1U);

    giveDescriptorsBack();
    EXPECT_NE(operatorSocket->receiveUntil("Enter selection: ").find("* Telnet Session Connected *"),
              std::string::npos);
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(DescriptorsTest, RouterCanBeJoinedAgainWithoutADescriptorToSpare)
{
    startJoined();
    takeAwayDescriptors();

    record().clear();
    router().reAnnounce("R2");
    ASSERT_TRUE(bridge().waitForOutput("joinRouterPartition(routerPartition 'R2')"));
    EXPECT_LT(processorShare(3s), 0.5);

    giveDescriptorsBack();
    auto controller = connectController();
    EXPECT_TRUE(testsupport::waitUntil(
        [&] { return controller.take({{.level = videoLevel, .lprId = 1, .input = 1, .output = 1}}).at(0) == 0; }));
    EXPECT_TRUE(takesReachTheRouter(controller, 4));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(DescriptorsTest, StopWithoutADescriptorToSpareIsClean)
{
    startJoined();
    auto controller = connectController();
    takeAwayDescriptors();

    EXPECT_EQ(stopBridge(), 0);

    EXPECT_TRUE(record().waitForComponent(frameId, bridgeId, Liveness::NoWriters));
}

} // namespace
} // namespace e2e
