// Start, stop, a taken port, many sessions, and the fallback to standard input and output.
#include "tests/support/FailingCall.h"
#include "tests/support/ListeningDescriptor.h"
#include "tests/support/ReplacedInput.h"
#include "tests/support/TimeFactor.h"
#include "tests/unit/runtime/misc/ConsoleFixture.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <optional>
#include <vector>

using namespace com::tallowcrest::misc;
using testsupport::waitUntil;

namespace
{

using Socket = testsupport::TcpSocket;

std::size_t openDescriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

TEST_F(TelnetIOTest, stop_endsAWaitingGetline)
{
    start();
    std::atomic<int> result{0};
    runAsReader([&] { result = getline().result; });

    m_sut->stop();

    EXPECT_TRUE(waitForReader());
    EXPECT_EQ(consoleStopping, result);
    EXPECT_FALSE(m_sut->isRunning());
}

TEST_F(TelnetIOTest, stop_whileAClientIsReadFrom_closesIt)
{
    start();
    const auto client = connectAndNotice();
    std::atomic<int> result{0};
    runAsReader([&] { result = getline().result; });

    m_sut->stop();

    EXPECT_TRUE(waitForReader());
    EXPECT_EQ(consoleStopping, result);
    EXPECT_TRUE(client.waitForClose());
    EXPECT_FALSE(testsupport::isListening(port));
}

TEST_F(TelnetIOTest, stop_deliversWhatWasPrintedLast)
{
    start();
    const auto client = connectAndNotice();
    const std::string text(2000, 'x');
    for (int i = 0; i < 50; ++i)
    {
        m_sut->Print("%s", text.c_str());
    }

    m_sut->stop();

    EXPECT_EQ(100000U, client.receive(200000).size());
}

TEST_F(TelnetIOTest, stop_twiceOrWithoutStart_doesNothing)
{
    m_sut->stop();
    start();
    m_sut->stop();
    m_sut->stop();

    EXPECT_FALSE(m_sut->isRunning());
}

TEST_F(TelnetIOTest, start_afterStop_servesAgain)
{
    start();
    m_sut->start();
    m_sut->stop();

    m_sut->start();

    ASSERT_TRUE(testsupport::waitForPort(port));
    const auto client = connectAndNotice();
    m_sut->Print("again");
    EXPECT_EQ("again", client.receive(5));
}

TEST_F(TelnetIOTest, whenASignalRequestsTheStop_getlineReturns)
{
    start();
    struct sigaction action
    {};
    struct sigaction previous
    {};
    action.sa_handler = [](int) { requestConsoleStop(); };
    ::sigaction(SIGTERM, &action, &previous);
    std::atomic<int> result{0};
    runAsReader([&] { result = getline().result; });

    EXPECT_EQ(0, ::raise(SIGTERM));

    EXPECT_TRUE(waitForReader());
    EXPECT_EQ(consoleStopping, result);
    ::sigaction(SIGTERM, &previous, nullptr);
}

TEST_F(TelnetIOTest, whenThePortIsTaken_retriesUntilItIsFreeAndLogsOnce)
{
    const int holder = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    const int reuse = 1; // earlier connections to the port may not be forgotten yet
    ASSERT_EQ(0, ::setsockopt(holder, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse)));
    ASSERT_EQ(0, ::bind(holder, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    ASSERT_EQ(0, ::listen(holder, 1));
    const auto begin = std::chrono::steady_clock::now();
    setConsole(m_sut);
    m_sut->start();
    ASSERT_TRUE(waitUntil([this] { return countLogged("openServerSocket() failed", "WARN") == 1; }));

    // Two more attempts pass before the port comes free.
    ASSERT_TRUE(waitUntil([&] { return std::chrono::steady_clock::now() - begin > std::chrono::milliseconds(2200); }));
    ::close(holder);

    ASSERT_TRUE(testsupport::waitForPort(port, std::chrono::seconds(3)));
    ASSERT_TRUE(waitForLogged("bind IP addr"));
    EXPECT_EQ(1, countLogged("openServerSocket() failed", "WARN"));
    EXPECT_EQ(1, countLogged("failed binding socket ", "WARN"));
    EXPECT_EQ(1, countLogged(" to address/port 0.0.0.0, Address already in use", "WARN"));
    EXPECT_EQ(1, countLogged("bind IP addr 0x0 (0.0.0.0) Port: 8882 Socket "));
}

TEST_F(TelnetIOTest, afterManySessions_noDescriptorIsLeft)
{
    start();
    const auto round = [this] {
        auto client = connectAndNotice();
        client.close();
        noticeThatClientLeft();
        endReader();
    };
    round();
    const std::size_t before = openDescriptors();

    for (int i = 0; i < 20; ++i)
    {
        round();
    }

    EXPECT_EQ(before, openDescriptors());
}

TEST_F(TelnetIOTest, whenManyThreadsPrintWhileClientsComeAndGo_eachLineArrivesWhole)
{
    start();
    std::atomic<bool> done{false};
    std::vector<std::thread> printers;
    for (char name = 'a'; name < 'd'; ++name)
    {
        printers.emplace_back([this, &done, name] {
            const std::string line(60, name);
            while (!done)
            {
                print("%s\n", line.c_str());
                std::this_thread::yield();
            }
        });
    }
    runAsReader([this, &done] {
        while (!done)
        {
            if (getline().result >= 0)
            {
                print("read\n");
            }
        }
    });

    // Until ten were served: one that comes before the last one was missed is rejected and gets nothing.
    const auto end = std::chrono::steady_clock::now() + testsupport::scaled(std::chrono::seconds(20));
    int served = 0;
    for (int i = 0; served < 10 && std::chrono::steady_clock::now() < end; ++i)
    {
        auto client = Socket::connect(port);
        if (!client)
        {
            continue; // rejected before it was connected
        }
        const auto newcomer = Socket::connect(port);
        const std::string input = "a line\r\nand a half";
        static_cast<void>(::send(client->fd(), input.data(), input.size(), MSG_NOSIGNAL)); // may have been rejected
        std::string text = client->receive(3000);
        if (i % 3 == 0)
        {
            client->reset();
        }
        client->close();
        served += text.empty() ? 0 : 1;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line) && !stream.eof();)
        {
            EXPECT_TRUE(line + "\n" == banner || line == "read" || line == std::string(60, line[0])) << line;
        }
    }
    done = true;
    for (auto& printer : printers)
    {
        printer.join();
    }
    m_sut->stop();
    EXPECT_TRUE(waitForReader());
    EXPECT_EQ(10, served);
    EXPECT_GE(countLogged("Telnet connected to"), 10);
}

/// With standard input and output in place of a missing client.
class TelnetIOWithFallback : public TelnetIOTest
{
protected:
    TelnetIOWithFallback() : TelnetIOTest(false) {}

    testsupport::ReplacedInput m_input;
};

TEST_F(TelnetIOWithFallback, withoutAClient_usesStandardInputAndOutput)
{
    start();
    testing::internal::CaptureStdout();

    m_sut->Print("ask: %d\n", 1);
    m_input.write("answer\r\n");

    EXPECT_EQ("answer", getline().text);
    EXPECT_EQ("ask: 1\n", testing::internal::GetCapturedStdout());
}

TEST_F(TelnetIOWithFallback, whenAClientComesAndGoes_isToldBothTimes)
{
    start();
    auto client = connectAndNotice();
    client.send("by telnet\n");
    EXPECT_EQ("by telnet", getline().text);

    client.close();

    EXPECT_EQ(consoleSessionChanged, getline().result);
    m_input.write("by hand\n");
    EXPECT_EQ("by hand", getline().text);
}

TEST_F(TelnetIOWithFallback, whenStandardInputEnds_waitsForAClient)
{
    start();
    m_sut->beginRound();
    m_input.write("last words");
    m_input.end();
    EXPECT_EQ("last words", getline().text);

    std::atomic<int> result{0};
    runAsReader([&] { result = getline().result; });
    const auto client = connect();

    EXPECT_TRUE(waitForReader());
    EXPECT_EQ(consoleSessionChanged, result);
}

TEST_F(TelnetIOTest, start_withoutAThread_throwsAndALaterOneSucceeds)
{
    const auto error = testsupport::errorWithoutAThread([this] { m_sut->start(); });

    if (!error)
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    EXPECT_EQ(EAGAIN, *error);
    EXPECT_FALSE(m_sut->isRunning());
    start();
}

TEST_F(TelnetIOTest, whenOptionsOfAClientCannotBeSet_saysSoAndServesAllTheSame)
{
    const std::vector<testsupport::FailingCall> calls{{SYS_setsockopt, ENOBUFS, {{1, SOL_SOCKET}, {2, SO_LINGER}}},
                                                      {SYS_setsockopt, ENOBUFS, {{1, SOL_SOCKET}, {2, SO_OOBINLINE}}},
                                                      {SYS_setsockopt, ENOBUFS, {{1, SOL_SOCKET}, {2, SO_KEEPALIVE}}},
                                                      {SYS_setsockopt, ENOBUFS, {{1, IPPROTO_TCP}, {2, TCP_NODELAY}}},
                                                      {SYS_shutdown, ENOBUFS}};
    setConsole(m_sut);
    if (!testsupport::withFailingCalls(calls, [this] { m_sut->start(); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    ASSERT_TRUE(testsupport::waitForPort(port));
    const auto client = connectAndNotice();

    const auto second = Socket::connect(port);

    ASSERT_TRUE(second);
    EXPECT_TRUE(second->waitForClose());
    m_sut->Print("served");
    EXPECT_EQ("served", client.receive(6));
    for (const char* const text : {"failed setting SO_LINGER socket option on socket ",
                                   "failed setting TCP_NODELAY socket option on client socket ",
                                   "failed setting SO_OOBINLINE socket option on client socket ",
                                   "failed setting SO_KEEPALIVE socket option on client socket ",
                                   "Rejecting connection: failed setting SO_LINGER socket option on clientsocket ",
                                   "Rejecting connection: failed shutdown on client socket "})
    {
        EXPECT_EQ(1, countLogged(text, "WARN")) << text;
    }
}

TEST_F(TelnetIOTest, whenItsWaitFails_saysSoWithoutSpinningAndCanBeStopped)
{
    setConsole(m_sut);
    if (!testsupport::withFailingCalls(testsupport::failingPoll(ENOMEM), [this] { m_sut->start(); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    ASSERT_TRUE(waitUntil([this] { return countLogged("select failed socket ", "WARN") == 1; }));
    EXPECT_EQ(1, countLogged(" Cannot allocate memory", "WARN"));
    m_sut->stop();
    EXPECT_FALSE(m_sut->isRunning());
}

TEST_F(TelnetIOTest, whenItsSocketListensNoMore_opensAnotherOne)
{
    start();
    const int listening = testsupport::listeningDescriptor();
    ASSERT_GE(listening, 0);

    ASSERT_EQ(0, ::shutdown(listening, SHUT_RDWR));

    EXPECT_TRUE(waitUntil([this] { return countLogged("bind IP addr 0x0 (0.0.0.0) Port: 8882 Socket ") == 2; }));
    const auto client = connectAndNotice();
}

} // namespace
