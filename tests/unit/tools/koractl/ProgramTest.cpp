#include "runtime/util/UniqueFd.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/tools/koractl/FakeLevel.h"
#include "tests/unit/tools/koractl/FakeRouter.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>

using com::tallowcrest::util::UniqueFd;

namespace
{

/// The real koractl as a child process, with its output and errors on one pipe.
class Koractl
{
public:
    explicit Koractl(std::vector<std::string> arguments)
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        {
            throw std::runtime_error("pipe");
        }
        m_output.reset(ends[0]);
        const UniqueFd input(ends[1]);
        arguments.insert(arguments.begin(), testsupport::programPath("koractl"));
        arguments = testsupport::runnable(std::move(arguments));
        std::vector<char*> argv;
        for (std::string& argument : arguments)
        {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, input.get(), STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, input.get(), STDERR_FILENO);
        const int failure = ::posix_spawnp(&m_pid, argv.front(), &actions, nullptr, argv.data(), environ);
        ::posix_spawn_file_actions_destroy(&actions);
        if (failure != 0)
        {
            m_pid = -1;
            throw std::runtime_error("cannot start " + arguments.front());
        }
    }

    ~Koractl()
    {
        if (m_pid > 0)
        {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    Koractl(const Koractl&) = delete;
    Koractl& operator=(const Koractl&) = delete;

    /// Reads until the output holds `text`; false when it ends or ten seconds pass before.
    bool readUntil(const std::string& text)
    {
        const auto deadline = std::chrono::steady_clock::now() + testsupport::scaled(std::chrono::seconds(10));
        while (m_text.find(text) == std::string::npos)
        {
            pollfd entry{m_output.get(), POLLIN, 0};
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            std::array<char, 4096> buffer{};
            if (left.count() <= 0 || ::poll(&entry, 1, static_cast<int>(left.count())) <= 0)
            {
                return false;
            }
            const ssize_t count = ::read(m_output.get(), buffer.data(), buffer.size());
            if (count <= 0)
            {
                return false;
            }
            m_text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return true;
    }

    void sendSignal(int signal) const { ::kill(m_pid, signal); }

    /// The exit status; -1 when a signal ended it.
    int waitForExit()
    {
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    const std::string& text() const { return m_text; }

private:
    pid_t m_pid = -1;
    UniqueFd m_output;
    std::string m_text;
};

std::vector<std::string> at(const FakeBridge& bridge, std::vector<std::string> arguments)
{
    const std::vector<std::string> where{"--port", std::to_string(bridge.port())};
    arguments.insert(arguments.begin(), where.begin(), where.end());
    return arguments;
}

} // namespace

class KoractlWatch : public testing::TestWithParam<int>
{};

TEST_P(KoractlWatch, PrintsChangesAsTheyComeAndExits0OnASignal)
{
    FakeBridge bridge{FakeRouter()};
    Koractl sut(at(bridge, {"watch", "1", "--interval", "10ms"}));

    ASSERT_TRUE(sut.readUntil("locked by 50\n")) << sut.text();
    sut.sendSignal(GetParam());

    EXPECT_EQ(sut.waitForExit(), 0);
    EXPECT_EQ(sut.text(), "level   1  output     1  input     1  released\n"
                          "level   1  output     5  input     5  locked by 50\n");
}

INSTANTIATE_TEST_SUITE_P(Signals, KoractlWatch, testing::Values(SIGINT, SIGTERM));

TEST(Koractl, WatchOfAnUnknownLevelSaysSoAndWaitsForIt)
{
    FakeBridge bridge{FakeRouter()};
    Koractl sut(at(bridge, {"--json", "watch", "9", "1", "--interval", "10ms"}));

    ASSERT_TRUE(sut.readUntil("\"lprId\":50,\"text\":\"ok\"}\n")) << sut.text();
    sut.sendSignal(SIGINT);

    EXPECT_EQ(sut.waitForExit(), 0);
    EXPECT_EQ(sut.text().find("koractl: level 9 does not exist yet; waiting for it\n{\"level\":1,"), 0U) << sut.text();
}

TEST(Koractl, WatchWhoseBridgeGoesAwaySaysSoAndConnectsAgain)
{
    FakeRouter router;
    bool hasLeft = false;
    FakeBridge bridge([&](const koraclient::Message& request, std::uint32_t sequence) {
        FakeReply reply = router(request, sequence);
        reply.isClosing = sequence == 3 && !hasLeft;
        hasLeft = hasLeft || reply.isClosing;
        return reply;
    });
    Koractl sut(at(bridge, {"watch", "1", "--interval", "10ms"}));

    EXPECT_TRUE(sut.readUntil("; trying to connect again\n")) << sut.text();
    EXPECT_TRUE(sut.readUntil("koractl: connected again after ")) << sut.text();
    EXPECT_TRUE(sut.readUntil("koractl: level 1: 0 outputs differ from before\n")) << sut.text();
    sut.sendSignal(SIGINT);
    EXPECT_EQ(sut.waitForExit(), 0);
}

TEST(Koractl, WatchWhoseBridgeGoesAwayGoesOnWithTheNext)
{
    constexpr std::uint32_t secondAddress = 0x7f000002;
    FakeRouter router;
    FakeBridge first([&router](const koraclient::Message& request, std::uint32_t sequence) {
        FakeReply reply = router(request, sequence);
        reply.isClosing = sequence == 4;
        return reply;
    });
    const FakeBridge second(FakeRouter(), secondAddress, first.port());
    Koractl sut(at(first, {"watch", "1", "--interval", "10ms", "--host", "127.0.0.1", "--host", "127.0.0.2"}));

    EXPECT_TRUE(sut.readUntil("; trying to connect again\n")) << sut.text();
    EXPECT_TRUE(sut.readUntil("koractl: connected again to 127.0.0.2 after ")) << sut.text();
    EXPECT_TRUE(sut.readUntil("koractl: level 1: 0 outputs differ from before\n")) << sut.text();
    sut.sendSignal(SIGINT);
    EXPECT_EQ(sut.waitForExit(), 0);
}

TEST(Koractl, WatchWithoutReconnectingExits3WhenItsBridgeGoesAway)
{
    FakeRouter router;
    FakeBridge bridge([&router](const koraclient::Message& request, std::uint32_t sequence) {
        FakeReply reply = router(request, sequence);
        reply.isClosing = sequence == 3;
        return reply;
    });
    Koractl sut(at(bridge, {"watch", "1", "--interval", "10ms", "--no-reconnect"}));

    EXPECT_TRUE(sut.readUntil("koractl: the bridge ")) << sut.text();
    EXPECT_EQ(sut.waitForExit(), 3);
}

TEST(Koractl, SignalEndsAWatchThatHasNoAnswerYet)
{
    FakeBridge bridge([](const koraclient::Message&, std::uint32_t) { return FakeReply{}; });
    Koractl sut(at(bridge, {"--timeout", "20s", "watch", "1"}));
    ASSERT_TRUE(testsupport::waitUntil([&bridge] { return !bridge.requests().empty(); }));

    sut.sendSignal(SIGTERM);

    EXPECT_EQ(sut.waitForExit(), -1) << "it waited for the answer";
}

TEST(Koractl, CommandsExitAsTheyEnded)
{
    FakeBridge bridge{FakeRouter()};

    EXPECT_EQ(Koractl(at(bridge, {"take", "1:2:3"})).waitForExit(), 0);
    EXPECT_EQ(Koractl(at(bridge, {"take", "1:2:5"})).waitForExit(), 1);
    EXPECT_EQ(Koractl({"take", "nonsense"}).waitForExit(), 2);
    EXPECT_EQ(Koractl({"--port", "1", "port"}).waitForExit(), 3);
}

TEST(Koractl, MatrixThatFollowsIntoAPipePrintsThePictureThenEachChange)
{
    std::atomic<std::uint32_t> wanted{0};
    FakeLevel level(12);
    FakeBridge bridge([&](const koraclient::Message& request, std::uint32_t sequence) {
        if (const std::uint32_t input = wanted.exchange(0); input != 0)
        {
            // A take as another controller would make it.
            (void)level(koraclient::Message(bytesOf({12, 1, 36, 0x50, 1, 1, 0, input, 3})), 1);
        }
        return level(request, sequence);
    });
    Koractl sut(at(bridge, {"matrix", "1", "--follow", "--width", "60", "--interval", "10ms"}));
    ASSERT_TRUE(sut.readUntil("    12  ")) << sut.text();

    wanted = 9;

    ASSERT_TRUE(sut.readUntil("level   1  output     3  input     9  released\n")) << sut.text();
    sut.sendSignal(SIGINT);
    EXPECT_EQ(sut.waitForExit(), 0);
    EXPECT_EQ(sut.text().find("level 1: outputs 1-12, inputs 1-12; 12 routed"), 0U) << sut.text();
}
