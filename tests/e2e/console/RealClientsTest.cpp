#include "tests/e2e/console/OperatorFixture.h"
#include "tests/support/TimeFactor.h"

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <iterator>
#include <stdexcept>

using namespace e2e;
using Clock = std::chrono::steady_clock;

namespace
{

/// A program on a terminal of its own, as when a person sits at it. What is typed is sent as keys; the program's text
/// comes back as the terminal shows it. Ended and reaped with the object.
class TerminalProgram
{
public:
    explicit TerminalProgram(std::vector<std::string> words)
    {
        std::vector<char*> argv;
        argv.reserve(words.size() + 1);
        for (auto& word : words)
        {
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        m_pid = forkpty(&m_terminal, nullptr, nullptr, nullptr);
        if (m_pid < 0)
        {
            throw std::runtime_error("no terminal to be had");
        }
        if (m_pid == 0)
        {
            execv(argv[0], argv.data());
            _exit(127);
        }
    }
    ~TerminalProgram()
    {
        ::close(m_terminal);
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    TerminalProgram(const TerminalProgram&) = delete;
    TerminalProgram& operator=(const TerminalProgram&) = delete;

    void type(const std::string& keys) const
    {
        if (::write(m_terminal, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
        {
            throw std::runtime_error("the terminal does not take keys");
        }
    }

    /// All text up to and with `text`, carriage returns left out; at the deadline or the program's end what there is.
    std::string until(const std::string& text, std::chrono::milliseconds deadline = std::chrono::seconds(10))
    {
        const auto end = Clock::now() + testsupport::scaled(deadline);
        std::size_t at = 0;
        while ((at = m_unread.find(text)) == std::string::npos && receive(end))
        {}
        const auto size = at == std::string::npos ? m_unread.size() : at + text.size();
        std::string result = m_unread.substr(0, size);
        m_unread.erase(0, size);
        return result;
    }

private:
    bool receive(Clock::time_point end)
    {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd wait{.fd = m_terminal, .events = POLLIN, .revents = 0};
        if (left <= 0 || poll(&wait, 1, static_cast<int>(left)) <= 0)
        {
            return false;
        }
        std::array<char, 4096> bytes{};
        const auto count = ::read(m_terminal, bytes.data(), bytes.size());
        if (count <= 0)
        {
            return false; // the program has closed its terminal
        }
        std::copy_if(bytes.begin(), bytes.begin() + count, std::back_inserter(m_unread),
                     [](char byte) { return byte != '\r'; });
        return true;
    }

    int m_terminal = -1;
    pid_t m_pid = -1;
    std::string m_unread;
};

struct Client
{
    std::string name;
    std::vector<std::string> command;
};

class RealClientTest : public OperatorFixture, public testing::WithParamInterface<Client>
{};

} // namespace

TEST_P(RealClientTest, PersonAtATerminalWorksThroughASessionAndQuits)
{
    startJoined();
    auto controller = connectController();
    ASSERT_EQ(controller.take({{videoLevel, 42, 5, 7}}), std::vector<std::uint32_t>{0});
    ASSERT_TRUE(testsupport::waitForPort(telnetPort));
    TerminalProgram sut(GetParam().command);
    const std::string menu(menuScreen);

    const auto first = sut.until(menu);
    ASSERT_GE(first.size(), menu.size()) << first;
    EXPECT_EQ(first.substr(first.size() - menu.size()), menu);
    EXPECT_NE(first.find(greeting), std::string::npos);

    sut.type("show t\r");
    EXPECT_EQ(sut.until(menu).find("show t\n\nTask Pointer       State  TaskId Name\n"), 0U);
    sut.type("12\r");
    EXPECT_EQ(sut.until(menu), "12\n12 is not a valid choice.\n" + menu);
    sut.type("7\r");
    EXPECT_EQ(sut.until(xptPrompt), std::string("7\n") + xptPrompt);
    sut.type("7\r");
    const std::string begin = "7\n\n--------- Video Crosspoints Target ---------\n\n" + tableHeader() +
                              row(7, 5, "00:00:00;00", 42, "released");
    EXPECT_EQ(sut.until(menu).substr(0, begin.size()), begin);
    sut.type("q\r");
    EXPECT_EQ(bridge().waitForExit(), 0);
}

INSTANTIATE_TEST_SUITE_P(Console, RealClientTest,
                         testing::Values(Client{"nc", {"/usr/bin/nc", "127.0.0.1", "8882"}},
                                         Client{"telnet", {"/usr/bin/telnet", "127.0.0.1", "8882"}}),
                         [](const testing::TestParamInfo<Client>& tested) { return tested.param.name; });

TEST_F(OperatorFixture, TelnetClientsBreakKeysDoNotEndTheMenu)
{
    startBridge();
    ASSERT_TRUE(testsupport::waitForPort(telnetPort));
    TerminalProgram sut({"/usr/bin/telnet", "127.0.0.1", "8882"});
    sut.until(menuScreen);

    // The client's own command line, from which it sends telnet commands in the middle of a line.
    sut.type("x");
    sut.type("\x1d");
    sut.until("telnet> ");
    sut.type("send ayt brk nop\r");
    sut.type("1\r");

    EXPECT_NE(sut.until("is not a valid choice.\n").find("x1 is not a valid choice.\n"), std::string::npos);
    EXPECT_TRUE(bridge().isRunning());
}
