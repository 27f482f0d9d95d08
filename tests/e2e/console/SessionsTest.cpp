#include "koraclient/Errors.h"
#include "tests/e2e/console/OperatorFixture.h"

#include <sys/socket.h>

#include <atomic>
#include <csignal>
#include <thread>

using namespace e2e;
using testsupport::TcpSocket;

namespace
{

class ConsoleSessionsTest : public OperatorFixture
{
protected:
    /// Signals the program: the menu ends, and the process with status 0.
    void expectStopBy(int number)
    {
        bridge().signal(number);
        EXPECT_TRUE(bridge().waitForOutput("Stopping korabridge"));
        EXPECT_EQ(bridge().waitForExit(), 0);
    }
};

/// A controller that takes without a pause until it is stopped or the bridge goes.
class BusyController
{
public:
    explicit BusyController(koraclient::KoraClient client) : m_client(std::move(client)) {}

    std::uint64_t takes() const { return m_takes.load(); }

private:
    void run(const std::stop_token& stop)
    {
        try
        {
            while (!stop.stop_requested())
            {
                m_client.take({{videoLevel, 0, 1 + static_cast<std::uint32_t>(m_takes % 288), 1}});
                ++m_takes;
            }
        }
        catch (const koraclient::KoraError&)
        {
            // the bridge went away, as it was told to
        }
    }

    koraclient::KoraClient m_client;
    std::atomic<std::uint64_t> m_takes{0};
    std::jthread m_thread{[this](const std::stop_token& stop) { run(stop); }};
};

} // namespace

TEST_F(ConsoleSessionsTest, SecondOperatorIsResetAndTheFirstNoticesNothing)
{
    startBridge();
    Operator first;

    auto second = TcpSocket::connect(telnetPort);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->receive(1), "");
    EXPECT_TRUE(second->waitForClose());

    EXPECT_TRUE(bridge().waitForOutput("Telnet connection rejected, already connected to 127.000.000.001"));
    EXPECT_EQ(first.choose("x"), "x is not a valid choice.\n");
}

TEST_F(ConsoleSessionsTest, NextOperatorSeesAFreshMenuAndNothingOfTheLast)
{
    startJoined();
    for (int i = 0; i < 5; ++i)
    {
        {
            Operator leaving;
            leaving.type("2\n2\n7\n"); // leaves with tables on the way and at a prompt
        }
        ASSERT_TRUE(testsupport::waitUntil([&] {
            auto socket = TcpSocket::connect(telnetPort);
            const std::string expected = std::string(greeting) + menuScreen;
            const std::string text = socket ? socket->receive(expected.size(), std::chrono::milliseconds(500)) : "";
            EXPECT_TRUE(text.empty() || text == expected) << text; // refused while the last one is there
            return text == expected;
        }));
    }
}

TEST_F(ConsoleSessionsTest, OperatorWhoNeverReadsHoldsUpNobody)
{
    startJoined();
    auto deaf = TcpSocket::connect(telnetPort);
    ASSERT_TRUE(deaf);
    const std::string request = "2\n2\n2\n2\n2\n2\n2\n2\n";
    // Tables until the bridge has no room for more.
    ASSERT_TRUE(testsupport::waitUntil(
        [&] {
            static_cast<void>(::send(deaf->fd(), request.data(), request.size(), MSG_DONTWAIT | MSG_NOSIGNAL));
            return bridge().output().find("is not reading, dropping text") != std::string::npos;
        },
        std::chrono::seconds(30)));

    BusyController controller(connectController());
    EXPECT_TRUE(testsupport::waitUntil([&] { return controller.takes() >= 100; }));
    expectStopBy(SIGTERM);
}

TEST_F(ConsoleSessionsTest, TablesAreServedWhileControllersComeGoAndTake)
{
    startJoined();
    const BusyController busy(connectController());
    std::jthread visitor([](const std::stop_token& stop) {
        while (!stop.stop_requested())
        {
            auto client = connectController();
            client.portPresent();
        }
    });
    Operator sut;

    for (int i = 0; i < 3; ++i)
    {
        sut.type("0\n"); // its list may come between any other lines
        sut.until(menuScreen);
        for (const char* const item : {"1\n", "2\n", "3\n", "10\n", "7\n1\n", "9\n1\n"})
        {
            sut.type(item);
            sut.until("Enter selection: ");
        }
    }

    const std::uint64_t before = busy.takes();
    EXPECT_TRUE(testsupport::waitUntil([&] { return busy.takes() > before; }));
    EXPECT_TRUE(bridge().isRunning());
}

TEST_F(ConsoleSessionsTest, StopWhileTheMenuWaitsForAnOperator)
{
    for (const int number : {SIGTERM, SIGINT})
    {
        startBridge();
        ASSERT_TRUE(bridge().waitForOutput("Starting korabridge"));
        expectStopBy(number);
    }
}

TEST_F(ConsoleSessionsTest, StopWhileTheMenuWaitsForInput)
{
    for (const int number : {SIGTERM, SIGINT})
    {
        startBridge();
        Operator sut;
        expectStopBy(number);
        EXPECT_EQ(sut.untilEnd(), "");
    }
}

TEST_F(ConsoleSessionsTest, StopWhileAPromptWaitsForItsAnswer)
{
    startJoined();
    Operator sut;
    sut.chooseTable("7");

    expectStopBy(SIGTERM);

    EXPECT_EQ(sut.untilEnd(), "");
}

TEST_F(ConsoleSessionsTest, QuitWhileTakesGoOnEndsTheProcessWithStatusZero)
{
    startJoined();
    const BusyController busy(connectController());
    Operator sut;
    ASSERT_TRUE(testsupport::waitUntil([&] { return busy.takes() > 0; }));

    sut.type("q\n");

    EXPECT_EQ(bridge().waitForExit(), 0);
    sut.untilEnd();
}
