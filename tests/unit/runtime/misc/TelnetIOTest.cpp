#include "tests/support/BrokenLogger.h"
#include "tests/support/ListeningDescriptor.h"
#include "tests/unit/runtime/misc/ConsoleFixture.h"

#include <arpa/inet.h>
#include <log4cxx/appenderskeleton.h>
#include <log4cxx/spi/loggingevent.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <csignal>
#include <cwchar>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <vector>

using namespace com::tallowcrest::misc;
using testsupport::waitUntil;

namespace
{

using Socket = testsupport::TcpSocket;

TEST_F(TelnetIOTest, isATaskNamedTelnetIO)
{
    testing::internal::CaptureStdout();
    com::tallowcrest::apartment::showTasks();
    const std::string before = testing::internal::GetCapturedStdout();
    EXPECT_NE(std::string::npos, before.find("not running")) << before;
    EXPECT_NE(std::string::npos, before.find(" TelnetIO\n")) << before;

    m_sut->start();

    testing::internal::CaptureStdout();
    com::tallowcrest::apartment::showTasks();
    const std::string after = testing::internal::GetCapturedStdout();
    EXPECT_NE(std::string::npos, after.find("    running")) << after;
}

TEST_F(TelnetIOTest, whenAClientConnects_announcesItEverywhere)
{
    testing::internal::CaptureStdout();
    start();
    m_sut->beginRound();

    const auto client = connect();

    ASSERT_TRUE(waitForLogged("Telnet connected to 127.000.000.001"));
    EXPECT_EQ(consoleSessionChanged, getline().result);
    EXPECT_EQ("\n* Telnet Session Connected - client:  127.000.000.001 *\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ(1, countLogged("bind IP addr 0x0 (0.0.0.0) Port: 8882 Socket "));
}

TEST_F(TelnetIOTest, whenAClientConnects_itsSocketIsProbedSoThatADeadPeerIsFoundWithinTwoMinutes)
{
    start();
    const auto client = connectAndNotice();

    const int socket = testsupport::otherEndOf(client.fd());
    const auto option = [socket](int level, int name) {
        int value = -1;
        socklen_t size = sizeof value;
        EXPECT_EQ(0, ::getsockopt(socket, level, name, &value, &size));
        return value;
    };

    EXPECT_EQ(1, option(SOL_SOCKET, SO_KEEPALIVE));
    EXPECT_EQ(60, option(IPPROTO_TCP, TCP_KEEPIDLE));
    EXPECT_EQ(15, option(IPPROTO_TCP, TCP_KEEPINTVL));
    EXPECT_EQ(4, option(IPPROTO_TCP, TCP_KEEPCNT));
    EXPECT_EQ(1, option(IPPROTO_TCP, TCP_NODELAY));
    linger value{};
    socklen_t size = sizeof value;
    ASSERT_EQ(0, ::getsockopt(socket, SOL_SOCKET, SO_LINGER, &value, &size));
    EXPECT_EQ(1, value.l_onoff);
    EXPECT_EQ(1, value.l_linger);
}

TEST_F(TelnetIOTest, whenTheClientLeaves_announcesItAndWaitsForTheNext)
{
    start();
    {
        const auto client = connectAndNotice();
    }
    testing::internal::CaptureStdout();
    noticeThatClientLeft();

    const auto next = connect();

    EXPECT_TRUE(waitForReader());
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(0U, printed.find("\n* Telnet Session Closed *")) << printed;
    m_reader.join();
}

TEST_F(TelnetIOTest, whenTheClientResets_theNextOneIsServed)
{
    start();
    auto client = connectAndNotice();
    client.reset();
    noticeThatClientLeft();

    const auto next = connect();

    EXPECT_TRUE(waitForReader());
    m_reader.join();
    m_sut->Print("hello");
    EXPECT_EQ("hello", next.receive(5));
}

TEST_F(TelnetIOTest, print_withoutAClient_isLost)
{
    start();
    testing::internal::CaptureStdout();

    EXPECT_EQ(4, m_sut->Print("lost"));

    const auto client = connectAndNotice();
    m_sut->Print("kept");
    EXPECT_EQ("kept", client.receive(4));
    EXPECT_EQ(std::string::npos, testing::internal::GetCapturedStdout().find("lost"));
}

TEST_F(TelnetIOTest, print_cutsAt2047Bytes)
{
    start();
    const auto client = connectAndNotice();

    EXPECT_EQ(2047, m_sut->Print("%s|", std::string(2047, 'x').c_str()));
    EXPECT_EQ(2, m_sut->Print("%s", "\n."));

    EXPECT_EQ(std::string(2047, 'x') + "\n.", client.receive(2049));
}

TEST_F(TelnetIOTest, print_whenTheWriteFails_saysSoOncePerClient)
{
    start();
    auto client = connectAndNotice();
    client.reset();

    // The reset reaches the socket at some time after the call.
    EXPECT_TRUE(waitUntil([this] {
        m_sut->Print("to nobody");
        return countLogged("Failed to write data to telnet clientFd ") > 0;
    }));
    for (int i = 0; i < 10; ++i)
    {
        m_sut->Print("to nobody");
    }

    EXPECT_EQ(1, countLogged("Failed to write data to telnet clientFd "));
}

TEST_F(TelnetIOTest, getline_givesOneLineHoweverItArrives)
{
    start();
    const auto client = connectAndNotice();

    client.send("sh");
    client.send("ow t\r");
    client.send("\nq\r");
    EXPECT_EQ("show t", getline().text);
    EXPECT_EQ("q", getline().text);
    client.send(std::string("\0\xff\xfb\x1f", 4) + "3\n");
    const auto last = getline();

    EXPECT_EQ("3", last.text);
    EXPECT_EQ(1, last.result);
}

TEST_F(TelnetIOTest, getline_whenTheLineDoesNotFit_dropsItsRest)
{
    start();
    const auto client = connectAndNotice();

    client.send("0123456789\r\n5\r\n");

    EXPECT_EQ("0123", getline(5).text);
    EXPECT_EQ("5", getline(5).text);
}

TEST_F(TelnetIOTest, getline_whenTheClientSendsUrgentBytes_keepsThemInPlace)
{
    start();
    const auto client = connectAndNotice();

    client.send("sho");
    client.send("\xff\xf4");
    ASSERT_EQ(1, ::send(client.fd(), "\xff", 1, MSG_OOB)); // as a telnet client marks "data mark"
    client.send("\xf2w t\r\n");

    EXPECT_EQ("show t", getline().text);
}

TEST_F(TelnetIOTest, getline_whenTheClientNegotiates_answersNothingButTheTimingMark)
{
    start();
    const auto client = connectAndNotice();

    // A terminal that offers itself, then the interrupt key: interrupt process, timing mark.
    client.send(std::string("\xff\xfb\x18\xff\xfd\x03\xff\xfd\x01\xff\xf4\xff\xfd\x06q\r\n"));
    EXPECT_EQ("q", getline().text);
    m_sut->Print("end\n");

    EXPECT_EQ("\xff\xfc\x06"
              "end\n",
              client.receiveUntil("end\n"));
}

TEST_F(TelnetIOTest, getline_whenTheClientSendsLinesAndLeaves_givesThemAll)
{
    start();
    auto client = connectAndNotice();

    client.send("3\r\n4\r\nshow");
    client.close();

    EXPECT_EQ("3", getline().text);
    EXPECT_EQ("4", getline().text);
    noticeThatClientLeft();
    EXPECT_FALSE(m_readerIsDone) << "the line that was never ended came out";
}

TEST_F(TelnetIOTest, whenASecondClientConnects_itIsResetAndTheFirstNoticesNothing)
{
    start();
    const auto first = connectAndNotice();

    const auto second = Socket::connect(port);
    ASSERT_TRUE(second);
    EXPECT_EQ("", second->receive(1));
    EXPECT_TRUE(second->waitForClose());
    ASSERT_TRUE(waitForLogged("Telnet connection rejected, already connected to 127.000.000.001"));

    m_sut->Print("still here");
    EXPECT_EQ("still here", first.receive(10));
    first.send("q\n");
    EXPECT_EQ("q", getline().text);
    EXPECT_EQ(0, countLogged("Rejecting connection", "WARN"));
}

TEST_F(TelnetIOTest, whenASecondClientConnects_aSendOfItsIsAnsweredWithAReset)
{
    start();
    const auto first = connectAndNotice();
    const auto second = Socket::connect(port);
    ASSERT_TRUE(second);
    ASSERT_TRUE(second->waitForClose());

    EXPECT_TRUE(waitUntil([&] { return ::send(second->fd(), "x", 1, MSG_NOSIGNAL) < 0; }));
}

TEST_F(TelnetIOTest, whenManyAreRejected_theLogDoesNotFlood)
{
    start();
    const auto first = connectAndNotice();

    for (int i = 0; i < 100; ++i)
    {
        const auto newcomer = Socket::connect(port);
        ASSERT_TRUE(newcomer);
        ASSERT_TRUE(newcomer->waitForClose());
    }

    EXPECT_EQ(20, countLogged("Telnet connection rejected"));
}

TEST_F(TelnetIOTest, whatTheReaderPrintsForOneClient_neverReachesTheNext)
{
    start();
    auto first = connectAndNotice();
    std::atomic<int> result{0};
    runAsReader([&] {
        result = getline().result; // a prompt of some item: the first client leaves, the second comes
        print("table for the first\n");
        std::thread([] { print("from another thread\n"); }).join();
        beginConsoleRound();
        print("for the second\n");
    });
    first.close();
    ASSERT_TRUE(waitForLogged("Telnet Session Closed"));

    const auto second = connect();

    EXPECT_EQ("from another thread\nfor the second\n", second.receiveUntil("for the second\n"));
    EXPECT_EQ(consoleSessionChanged, result);
}

TEST_F(TelnetIOTest, whatTheReaderPrintsWithoutAClient_doesNotReachOneThatComesMeanwhile)
{
    start();
    beginConsoleRound();
    print("the first half of a menu\n");
    const auto client = connect();
    ASSERT_TRUE(waitForLogged("Telnet connected to"));

    print("the second half of a menu\n");

    EXPECT_EQ(consoleSessionChanged, getline().result);
    beginConsoleRound();
    print("a whole menu\n");
    EXPECT_EQ("a whole menu\n", client.receiveUntil("a whole menu\n"));
}

TEST_F(TelnetIOTest, whenAskedAgainAfterTheChange_readsFromTheNewClient)
{
    start();
    m_sut->beginRound();
    const auto client = connect();
    ASSERT_EQ(consoleSessionChanged, getline().result);
    client.send("an answer\n");

    EXPECT_EQ("an answer", getline().text);
    print("to the new one\n");
    EXPECT_EQ("to the new one\n", client.receiveUntil("\n"));
}

TEST_F(TelnetIOTest, whenTheClientNeverReads_printingNeverWaits)
{
    start();
    const auto client = connectAndNotice();

    // Far more than all buffers on the way take.
    std::atomic<bool> isPrinted{false};
    std::thread printer([&] {
        const std::string text(2000, 'x');
        for (int i = 0; i < 20000; ++i)
        {
            m_sut->Print("%s", text.c_str());
        }
        isPrinted = true;
    });
    EXPECT_TRUE(waitUntil([&] { return isPrinted.load(); }, std::chrono::seconds(20)));
    printer.join();
    EXPECT_GE(countLogged("is not reading, dropping text"), 1);
}

TEST_F(TelnetIOTest, whenTheClientLagsAndCatchesUp_seesWholeLinesInOrder)
{
    start();
    const auto client = connectAndNotice();
    constexpr std::size_t lineSize = 99;
    const std::string filler(lineSize - 9, '.');
    int printed = 0;
    ASSERT_TRUE(waitUntil([&] {
        for (int i = 0; i < 1000; ++i)
        {
            m_sut->Print("%08d%s\n", printed++, filler.c_str());
        }
        return countLogged("is not reading, dropping text") > 0;
    }));

    std::string all;
    ASSERT_TRUE(waitUntil([&] {
        m_sut->Print("end\n"); // dropped until the client has caught up
        all += client.receive(1 << 20, std::chrono::milliseconds(30));
        return all.find("end\n") != std::string::npos;
    }));

    EXPECT_GE(countLogged("is reading again"), 1);
    int last = -1;
    int received = 0;
    for (std::size_t at = 0; all.compare(at, 4, "end\n") != 0; at += lineSize)
    {
        const int number = std::stoi(all.substr(at, 8));
        ASSERT_GT(number, last);
        last = number;
        ++received;
    }
    EXPECT_GT(received, static_cast<int>(256 * 1024 / lineSize));
    EXPECT_LT(received, printed);
}

TEST_F(TelnetIOTest, whenTheSocketTakesNoMore_keptTextStillArrivesWithoutAnotherPrint)
{
    start();
    const auto client = connectAndNotice();
    const std::string text(2047, 'k');
    std::size_t size = 0;
    // Beyond the socket's buffers, within what the console keeps: the buffers on the way take a few megabytes at most.
    while (countLogged("is not reading, dropping text") == 0)
    {
        m_sut->Print("%s", text.c_str());
        size += text.size();
    }
    size -= text.size(); // the dropped one

    EXPECT_EQ(size, client.receive(size, std::chrono::seconds(20)).size());
}

TEST_F(TelnetIOTest, print_whenTheFormatIsWrong_isNegativeAndPrintsNothing)
{
    start();
    const auto client = connectAndNotice();
    constexpr wint_t noCharacterOfTheLocale = 0x20ac;

    EXPECT_LT(m_sut->Print("%lc", noCharacterOfTheLocale), 0);

    m_sut->Print("next");
    EXPECT_EQ("next", client.receive(4));
}

TEST_F(TelnetIOTest, whenTheLogFails_theConsoleGoesOn)
{
    // Throws once, as an appender does whose disk is full.
    class FailingAppender final : public log4cxx::AppenderSkeleton
    {
    public:
        void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& /*pool*/) override
        {
            if (event->getMessage().find("Telnet connected to") != std::string::npos)
            {
                throw std::runtime_error("no space");
            }
        }
        void close() override {}
        bool requiresLayout() const override { return false; }
    };
    log4cxx::Logger::getRootLogger()->addAppender(std::make_shared<FailingAppender>());
    start();

    const auto client = connectAndNotice();

    EXPECT_TRUE(waitUntil([this] { return countLogged("telnet console: no space", "ERROR") == 1; }));
    m_sut->Print("still here");
    EXPECT_EQ("still here", client.receive(10));
}

TEST_F(TelnetIOTest, whileNothingCanBeLogged_notEvenThat_theConsoleGoesOn)
{
    start();
    const testsupport::BrokenLogger log("KORABRIDGE");
    testing::internal::CaptureStderr();

    const auto client = testsupport::TcpSocket::connect(port);

    ASSERT_TRUE(client);
    EXPECT_EQ(banner, client->receive(std::string(banner).size()));
    const auto second = testsupport::TcpSocket::connect(port); // whose rejection cannot be logged either
    ASSERT_TRUE(second);
    EXPECT_TRUE(second->waitForClose());
    m_sut->stop(); // when it returns, its thread has said what it had to
    EXPECT_TRUE(
        testing::internal::GetCapturedStderr().starts_with("telnet console: no space (not logged: no space)\n"));
}

} // namespace
