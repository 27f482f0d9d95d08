#include "koraclient/Errors.h"
#include "tests/e2e/faults/FaultFixture.h"

#include <cstdlib>

namespace e2e
{
namespace
{

using namespace std::chrono_literals;
using testsupport::ChildProcess;
using testsupport::TcpSocket;

/// Little memory as the process sees it: a limit on its address space, so that the system refuses to give more.
class MemoryTest : public FaultFixture
{
protected:
    void SetUp() override
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "the sanitizers reserve terabytes of address space";
#endif
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody sets it
        if (std::getenv("KORABRIDGE_EMULATOR") != nullptr)
        {
            GTEST_SKIP() << "the emulator has reserved all addresses of the program, so that a limit is its own";
        }
    }
    void takeAwayMemory()
    {
        setLimit(RLIMIT_AS, virtualMemory());
    }
    void giveMemoryBack()
    {
        setLimit(RLIMIT_AS, RLIM_INFINITY);
    }
};

TEST_F(MemoryTest, StartWithoutEnoughEndsWithStatusOneAndSaysWhatIsMissing)
{
    std::vector<std::unique_ptr<ChildProcess>> bridges;
    for (const int mebibytes : {35, 40, 50, 60, 80, 100, 120})
    {
        bridges.push_back(bridgeAfter("ulimit -v " + std::to_string(mebibytes * 1024)));
    }

    for (auto& bridge : bridges)
    {
        EXPECT_EQ(bridge->waitForExit(40s), 1) << bridge->errors();
        EXPECT_NE(bridge->errors().find("korabridge: not enough resources to start: "), std::string::npos)
            << bridge->errors();
        EXPECT_NE(bridge->errors().find("available ("), std::string::npos) << bridge->errors();
    }
}

TEST_F(MemoryTest, ControllersThatAreThereWorkOnAndNewOnesAreServedOnceThereIsMemory)
{
    startJoined();
    auto first = connectController();
    ASSERT_TRUE(takesReachTheRouter(first, 1));
    takeAwayMemory();

    for (std::uint32_t i = 0; i < 200; ++i)
    {
        ASSERT_TRUE(takesReachTheRouter(first, 1 + i % 50));
    }
    for (int i = 0; i < 50; ++i) // no room for the stack of a further thread
    {
        const auto next = TcpSocket::connect(koraPort);
        ASSERT_TRUE(next);
        EXPECT_TRUE(next->waitForClose());
    }
    EXPECT_TRUE(takesReachTheRouter(first, 2));
    EXPECT_EQ(countOf(bridge().output(), "failed starting it, "), 1U);

    giveMemoryBack();
    auto later = connectController();
    EXPECT_TRUE(takesReachTheRouter(later, 3));
    EXPECT_TRUE(bridge().isRunning());
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(MemoryTest, LargestRequestsAreAnsweredWithoutMemoryToSpare)
{
    startJoined();
    auto controller = connectController();
    const auto askForMuch = [&] {
        EXPECT_EQ(controller.outputStatus(1, audioLevel, 1, 1000).entries.size(), 1000U);
        EXPECT_EQ(controller.tally(audioLevel, 1, 1000).entries.size(), 1000U);
        EXPECT_LE(controller.outputChanges(1, audioLevel).entries.size(), 679U);
    };
    askForMuch(); // from the second time on, nothing comes from the heap
    takeAwayMemory();

    for (int i = 0; i < 200; ++i)
    {
        askForMuch();
    }

    giveMemoryBack();
    EXPECT_TRUE(takesReachTheRouter(controller, 7));
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(MemoryTest, ControllerWhoseCommandFindsNoMemoryLosesItsConnectionAtWorst)
{
    startJoined();
    std::vector<koraclient::KoraClient> controllers;
    for (int i = 0; i < 8; ++i)
    {
        controllers.push_back(connectController());
    }
    takeAwayMemory();

    for (auto& controller : controllers) // their threads have never asked for memory before
    {
        try
        {
            controller.outputStatus(1, audioLevel, 1, 1000);
        }
        catch (const koraclient::PeerClosed&) // the worst that may happen
        {}
    }

    giveMemoryBack();
    controllers.clear();
    auto later = connectController();
    EXPECT_TRUE(takesReachTheRouter(later, 7));
    EXPECT_EQ(stopBridge(), 0);
}

} // namespace
} // namespace e2e
