#include "tests/e2e/faults/FaultFixture.h"

#include <unistd.h>

#include <regex>

namespace e2e
{
namespace
{

using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::TcpSocket;

/// The limit on threads counts all that a user has, and root has none: the program runs as a user that nobody else is.
class ThreadsTest : public FaultFixture
{
protected:
    void SetUp() override
    {
        switchLeakCheckOff();
        const auto program = testsupport::programPath("korabridge").string();
        ChildProcess probe("/bin/sh", {"-c", asUser() + " test -x '" + program + "'"});
        if (probe.waitForExit() != 0)
        {
            GTEST_SKIP() << "needs root, and a program that other users can reach";
        }
    }

    static std::string asUser(int user = userId())
    {
        const std::string id = std::to_string(user);
        return "setpriv --reuid " + id + " --regid " + id + " --clear-groups";
    }
    /// Becomes the user, with a limit on its threads that it may raise again.
    static std::string withThreads(std::size_t number, int user = userId())
    {
        return "set -- " + asUser(user) + " prlimit --nproc=" + std::to_string(number) + ": \"$@\"";
    }
    void setThreadLimit(std::size_t number) const
    {
        ChildProcess change("/bin/sh", {"-c", asUser() + " prlimit --pid " + std::to_string(m_bridge->pid()) +
                                                  " --nproc=" + std::to_string(number) + ":"});
        ASSERT_EQ(change.waitForExit(), 0) << change.errors();
    }

    std::size_t joinsBegun(const std::string& partition)
    {
        return countOf(bridge().output(), "TopicMacroLevel joinRouterPartition(routerPartition '" + partition + "')");
    }
    /// The server is told last.
    std::size_t joinsDone() { return countOf(bridge().output(), "- connected to router"); }
    /// For how many signal types the ranges of a partition's member have arrived.
    std::size_t rangesIn(const std::string& partition)
    {
        const std::string output = bridge().output();
        return countOf(output,
                       "addRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget\n rtr         : " + partition) +
               countOf(output, "addRouterMemberMacroXpts  TopicMacroXptOutputAudioTarget\n rtr         : " + partition);
    }

    static int userId() { return 100000 + ::getpid() * 10; }
};

TEST_F(ThreadsTest, StartWithoutEnoughEndsWithStatusOneAndSaysWhatIsMissing)
{
    std::vector<std::unique_ptr<ChildProcess>> bridges;
    for (const std::size_t threads : {2U, 4U, 8U, 9U, 12U, 15U})
    {
        const int user = userId() + static_cast<int>(bridges.size());
        bridges.push_back(bridgeAfter(withThreads(threads, user)));
    }

    for (auto& bridge : bridges)
    {
        EXPECT_EQ(bridge->waitForExit(40s), 1) << bridge->errors();
        EXPECT_TRUE(std::regex_search(
            bridge->errors(), std::regex("korabridge: not enough resources to start: \\d+ of 16 threads available")))
            << bridge->errors();
    }
}

TEST_F(ThreadsTest, StartGoesOnWhenEnoughComeInTime)
{
    startAfter(withThreads(5));
    ASSERT_TRUE(bridge().waitForOutput("not enough resources to start"));

    setThreadLimit(100);

    router().announce();
    waitForJoin();
    auto controller = connectController();
    EXPECT_TRUE(takesReachTheRouter(controller, 5));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(ThreadsTest, ControllerWithoutAThreadIsClosedWhileTheOthersWorkAndServedLater)
{
    startAfter(withThreads(100));
    router().announce();
    waitForJoin();
    auto first = connectController();
    ASSERT_TRUE(takesReachTheRouter(first, 1));
    setThreadLimit(threadCount());

    for (int i = 0; i < 50; ++i)
    {
        const auto next = TcpSocket::connect(koraPort);
        ASSERT_TRUE(next);
        EXPECT_TRUE(next->waitForClose());
    }
    EXPECT_TRUE(takesReachTheRouter(first, 2));
    EXPECT_EQ(countOf(bridge().output(), "failed starting it, Resource temporarily unavailable"), 1U);

    setThreadLimit(100);
    auto later = connectController();
    EXPECT_TRUE(takesReachTheRouter(later, 3));
    EXPECT_TRUE(bridge().waitForOutput("repeated 49 times: Connection rejected from 127.000.000.001 failed starting"));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(ThreadsTest, JoinAndStopNeedNoThreadToSpare)
{
    startAfter(withThreads(100));
    router().announce();
    waitForJoin();
    auto controller = connectController();
    ASSERT_TRUE(takesReachTheRouter(controller, 1));
    ASSERT_EQ(joinsBegun("R2"), 0U);
    const std::size_t before = joinsDone();
    setThreadLimit(threadCount());

    router().reAnnounce("R2");

    ASSERT_TRUE(testsupport::waitUntil([&] { return joinsDone() == before + 1; })) << bridge().output();
    EXPECT_EQ(joinsBegun("R2"), 1U);
    ASSERT_TRUE(testsupport::waitUntil([&] { return rangesIn("R2") == 2; })) << bridge().output();
    EXPECT_TRUE(takesReachTheRouter(controller, 2));
    EXPECT_EQ(countOf(bridge().output(), " ERROR "), 0U);
    EXPECT_EQ(stopBridge(), 0);
}

} // namespace
} // namespace e2e
