#include "runtime/util/UniqueFd.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TimeFactor.h"
#include "tests/unit/tools/koractl/FakeLevel.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

using com::tallowcrest::util::UniqueFd;
using namespace std::chrono_literals;

namespace
{

/// The real koractl on a terminal of its own, 100 columns by 20 rows.
class KoractlOnTerminal
{
public:
    explicit KoractlOnTerminal(std::vector<std::string> arguments) : m_terminal(::posix_openpt(O_RDWR | O_NOCTTY))
    {
        if (!m_terminal.isOpen() || ::grantpt(m_terminal.get()) != 0 || ::unlockpt(m_terminal.get()) != 0)
        {
            throw std::runtime_error("no terminal");
        }
        const winsize size{.ws_row = 20, .ws_col = 100, .ws_xpixel = 0, .ws_ypixel = 0};
        (void)::ioctl(m_terminal.get(), TIOCSWINSZ, &size);
        const std::string name = ::ptsname(m_terminal.get()); // NOLINT(concurrency-mt-unsafe): one thread asks
        arguments.insert(arguments.begin(), testsupport::programPath("koractl"));
        arguments = testsupport::runnable(std::move(arguments));
        std::vector<char*> argv;
        for (std::string& argument : arguments)
        {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        m_pid = ::fork();
        if (m_pid == 0)
        {
            (void)::setsid();
            const int fd = ::open(name.c_str(), O_RDWR); // becomes the controlling terminal
            (void)::dup2(fd, STDIN_FILENO);
            (void)::dup2(fd, STDOUT_FILENO);
            (void)::dup2(fd, STDERR_FILENO);
            (void)::setenv("TERM", "xterm", 1); // NOLINT(concurrency-mt-unsafe): the child has one thread
            (void)::unsetenv("NO_COLOR");       // NOLINT(concurrency-mt-unsafe)
            (void)::execvp(argv.front(), argv.data());
            ::_exit(127);
        }
    }

    ~KoractlOnTerminal()
    {
        if (m_pid > 0)
        {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    KoractlOnTerminal(const KoractlOnTerminal&) = delete;
    KoractlOnTerminal& operator=(const KoractlOnTerminal&) = delete;

    void type(const std::string& keys) const { (void)!::write(m_terminal.get(), keys.data(), keys.size()); }

    /// Reads until something new holds `text`; what came before it is forgotten.
    bool readUntil(const std::string& text)
    {
        const auto deadline = std::chrono::steady_clock::now() + testsupport::scaled(20s);
        for (;;)
        {
            const std::size_t found = m_text.find(text);
            if (found != std::string::npos)
            {
                m_text.erase(0, found + text.size());
                return true;
            }
            pollfd entry{m_terminal.get(), POLLIN, 0};
            std::array<char, 4096> buffer{};
            if (std::chrono::steady_clock::now() > deadline || ::poll(&entry, 1, 100) < 0)
            {
                return false;
            }
            const ssize_t count = entry.revents == 0 ? 0 : ::read(m_terminal.get(), buffer.data(), buffer.size());
            if (count < 0)
            {
                return false;
            }
            m_text.append(buffer.data(), static_cast<std::size_t>(count));
        }
    }

    int waitForExit()
    {
        int status = 0;
        ::waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    const std::string& text() const { return m_text; }

private:
    UniqueFd m_terminal;
    pid_t m_pid = -1;
    std::string m_text;
};

/// A level of 288 ports that another thread may change.
class SharedLevel
{
public:
    FakeReply operator()(const koraclient::Message& request, std::uint32_t sequence)
    {
        const std::lock_guard lock(m_mutex);
        if (m_wanted != 0)
        {
            // A take as another controller would make it.
            (void)m_level(koraclient::Message(bytesOf({12, 1, 36, 0x50, 1, 1, 0, m_wanted, 200})), 1);
            m_wanted = 0;
        }
        return m_level(request, sequence);
    }

    void takeTo200(std::uint32_t input)
    {
        const std::lock_guard lock(m_mutex);
        m_wanted = input;
    }

private:
    std::mutex m_mutex;
    FakeLevel m_level{288};
    std::uint32_t m_wanted = 0;
};

std::vector<std::string> at(const FakeBridge& bridge)
{
    return {"--port", std::to_string(bridge.port()), "matrix", "1", "--interval", "20ms"};
}

} // namespace

TEST(MatrixScreen, ShowsTheLevelMovesWithTheKeysAndGivesTheTerminalBack)
{
    FakeBridge bridge{FakeLevel(288)};
    KoractlOnTerminal sut(at(bridge));

    ASSERT_TRUE(sut.readUntil("\x1b[?1049h")) << sut.text();
    EXPECT_TRUE(sut.readUntil("level 1: outputs 1-288, inputs 1-288; 288 routed")) << sut.text();
    EXPECT_TRUE(sut.readUntil("     1  \x1b[1;32mo")) << sut.text();
    sut.type("\x1b[F"); // End
    EXPECT_TRUE(sut.readUntil("  288  ")) << sut.text();
    sut.type("]");
    EXPECT_TRUE(sut.readUntil("  274  ")) << sut.text();
    sut.type("q");
    EXPECT_TRUE(sut.readUntil("\x1b[?1049l")) << sut.text();
    EXPECT_EQ(sut.waitForExit(), 0);
}

TEST(MatrixScreen, FollowsAChangeAndFindsIt)
{
    SharedLevel level;
    FakeBridge bridge(
        [&level](const koraclient::Message& request, std::uint32_t sequence) { return level(request, sequence); });
    KoractlOnTerminal sut(at(bridge));
    ASSERT_TRUE(sut.readUntil("288 routed")) << sut.text();

    level.takeTo200(150);

    EXPECT_TRUE(sut.readUntil("last change: level   1  output   200  input   150  released")) << sut.text();
    sut.type("c");
    EXPECT_TRUE(sut.readUntil("*  200")) << sut.text();
    EXPECT_TRUE(sut.readUntil("   150")) << sut.text();
    sut.type("\x03"); // Ctrl-C
    EXPECT_TRUE(sut.readUntil("\x1b[?1049l")) << sut.text();
    EXPECT_EQ(sut.waitForExit(), 0);
}

TEST(MatrixScreen, GivenNobodyListeningLeavesTheTerminalAlone)
{
    std::uint16_t port = 0;
    {
        const FakeBridge gone{FakeLevel(2)};
        port = gone.port();
    }
    KoractlOnTerminal sut({"--port", std::to_string(port), "matrix", "1"});

    EXPECT_TRUE(sut.readUntil("koractl: cannot connect to ")) << sut.text();
    EXPECT_EQ(sut.waitForExit(), 3);
    EXPECT_EQ(sut.text().find("1049"), std::string::npos);
}

TEST(MatrixScreen, EveryKeyMovesThePictureItsOwnWay)
{
    const std::string mark = "\x1b[1;32mo";
    FakeBridge bridge{FakeLevel(288)};
    KoractlOnTerminal sut(at(bridge));
    ASSERT_TRUE(sut.readUntil("    15  ")) << "the first page is 1 to 15: " << sut.text();

    sut.type("cx"); // there was no change, and x means nothing
    sut.type("j");
    EXPECT_TRUE(sut.readUntil("    16  ")) << "down: " << sut.text();
    sut.type("\x1b[6~");
    EXPECT_TRUE(sut.readUntil("    31  ")) << "page down: " << sut.text();
    sut.type("k");
    EXPECT_TRUE(sut.readUntil("    16  ")) << "up: " << sut.text();
    sut.type("b");
    EXPECT_TRUE(sut.readUntil("     1  ")) << "page up: " << sut.text();
    sut.type("l");
    EXPECT_TRUE(sut.readUntil("     2  " + mark)) << "inputs from 2 on: " << sut.text();
    sut.type("h");
    EXPECT_TRUE(sut.readUntil("     1  " + mark)) << "inputs from 1 on: " << sut.text();
    sut.type("]\x1b[6~\x1b[6~\x1b[6~\x1b[6~");
    EXPECT_TRUE(sut.readUntil("    73  " + mark))
        << "as many inputs as there is room for, to the right: " << sut.text();
    sut.type("g[");
    EXPECT_TRUE(sut.readUntil("     1  " + mark)) << "and back: " << sut.text();
    sut.type("]G");
    EXPECT_TRUE(sut.readUntil("   288  ")) << "end: " << sut.text();
    sut.type("[g");
    EXPECT_TRUE(sut.readUntil("     1  " + mark)) << "a page to the left, home: " << sut.text();
    sut.type("q");
    EXPECT_EQ(sut.waitForExit(), 0);
}

TEST(MatrixScreen, BridgeThatLeavesAndComesBackIsToldInTheRemark)
{
    FakeLevel level(288);
    bool hasLeft = false;
    FakeBridge bridge([&](const koraclient::Message& request, std::uint32_t sequence) {
        FakeReply reply = level(request, sequence);
        reply.isClosing = sequence == 5 && !hasLeft;
        hasLeft = hasLeft || reply.isClosing;
        return reply;
    });
    KoractlOnTerminal sut(at(bridge));

    EXPECT_TRUE(sut.readUntil("; trying to connect again")) << sut.text();
    EXPECT_TRUE(sut.readUntil("connected again; outputs that differ from before: 0")) << sut.text();
    sut.type("q");
    EXPECT_EQ(sut.waitForExit(), 0);
}

TEST(MatrixScreen, LevelThatDoesNotExistYetIsWaitedFor)
{
    FakeBridge bridge{FakeLevel(288)};
    KoractlOnTerminal sut({"--port", std::to_string(bridge.port()), "matrix", "9", "--interval", "20ms"});

    EXPECT_TRUE(sut.readUntil("level 9: no outputs")) << sut.text();
    EXPECT_TRUE(sut.readUntil("level 9 does not exist yet; waiting for it")) << sut.text();
    sut.type("q");
    EXPECT_EQ(sut.waitForExit(), 0);
}
