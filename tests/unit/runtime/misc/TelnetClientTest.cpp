#include "tests/unit/runtime/misc/TelnetClientFixture.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include <future>

using namespace com::tallowcrest::misc;
using testsupport::TcpSocket;
using testsupport::waitUntil;
using namespace std::chrono_literals;

namespace
{

const std::string timingMarkRequest = "\xff\xfd\x06"; // IAC DO TIMING-MARK
const std::string timingMarkRefusal = "\xff\xfc\x06"; // IAC WONT TIMING-MARK

using TelnetClientTest = TelnetClientFixture;

TEST_F(TelnetClientTest, knowsItsSessionAndWhereItComesFrom)
{
    EXPECT_EQ(m_sut->session(), 7U);
    EXPECT_EQ(m_sut->address(), ::htonl(INADDR_LOOPBACK));
}

TEST_F(TelnetClientTest, setOptions_probesAnIdlePeerAndKeepsUrgentBytesInPlace)
{
    m_sut->setOptions();

    EXPECT_NE(option(SOL_SOCKET, SO_KEEPALIVE), 0);
    EXPECT_NE(option(SOL_SOCKET, SO_OOBINLINE), 0);
    EXPECT_NE(option(IPPROTO_TCP, TCP_NODELAY), 0);
    linger atClose{};
    socklen_t size = sizeof(atClose);
    ASSERT_EQ(::getsockopt(m_sut->fd(), SOL_SOCKET, SO_LINGER, &atClose, &size), 0);
    EXPECT_NE(atClose.l_onoff, 0);
    EXPECT_EQ(atClose.l_linger, 1);
    EXPECT_EQ(m_log.countHolding("WARN"), 0U);
}

TEST_F(TelnetClientTest, receive_whenNothingHasArrived_isTrueAndGivesNoLine)
{
    EXPECT_TRUE(m_sut->receive());
    EXPECT_EQ(m_sut->takeLine(), std::nullopt);
}

TEST_F(TelnetClientTest, receive_whenABrowserTalks_isFalseAndGivesNoLine)
{
    m_operator->send("POST / HTTP/1.1\r\nq\r\n");

    EXPECT_TRUE(waitUntil([this] { return !m_sut->receive(); }));
    EXPECT_TRUE(m_sut->isBrowser());
    EXPECT_EQ(m_sut->takeLine(), std::nullopt);
}

TEST_F(TelnetClientTest, receive_whenLinesHaveArrived_givesThemInOrder)
{
    m_operator->send("show tasks\r\nq\r\n");

    EXPECT_EQ(readLine(), "show tasks");
    EXPECT_EQ(m_sut->takeLine(), "q");
    EXPECT_EQ(m_sut->takeLine(), std::nullopt);
}

TEST_F(TelnetClientTest, receive_whenTheOperatorHasLeft_isFalse)
{
    EXPECT_TRUE(m_sut->receive());
    m_operator->close();

    EXPECT_TRUE(waitUntil([this] { return !m_sut->receive(); }));
}

TEST_F(TelnetClientTest, send_whenTheSocketTakesIt_keepsNothing)
{
    m_sut->send("firstXpt: ");

    EXPECT_FALSE(m_sut->hasPendingText());
    EXPECT_EQ(m_operator->receive(10), "firstXpt: ");
}

TEST_F(TelnetClientTest, send_whenTheSocketIsFull_keepsTheRestForTheNextFlush)
{
    const std::string sent = sendUntilTextIsKept();

    EXPECT_TRUE(readAndFlush(sent.size()) == sent);
    EXPECT_FALSE(m_sut->hasPendingText());
    EXPECT_EQ(m_log.countHolding("is not reading"), 0U) << "nothing was dropped";
}

TEST_F(TelnetClientTest, send_beyondWhatIsKept_dropsWholeTextsAndSaysSoOnce)
{
    const std::string sent = sendUntilTextIsDropped();
    m_sut->send("dropped too, although there might be room");

    EXPECT_EQ(m_log.count("INFO telnet clientFd " + m_descriptor + " is not reading, dropping text"), 1U);
    EXPECT_TRUE(readAndFlush(sent.size()) == sent) << "what was kept is whole and in order";
    m_sut->send("after");
    EXPECT_EQ(m_operator->receive(5), "after") << "one gap, and no more";
    const std::size_t dropped = 10'000 + 41;
    EXPECT_EQ(m_log.count("INFO telnet clientFd " + m_descriptor + " is reading again, " + std::to_string(dropped) +
                          " bytes of text were dropped"),
              1U);
}

TEST_F(TelnetClientTest, send_whenTheOperatorHasReset_saysSoOnce)
{
    m_operator->reset();
    ASSERT_TRUE(waitUntil([this] { return !m_sut->receive(); }));

    m_sut->send("one");
    m_sut->send("two");

    EXPECT_EQ(m_log.countHolding("INFO Failed to write data to telnet clientFd " + m_descriptor + ", "), 1U);
    EXPECT_FALSE(m_sut->hasPendingText());
}

TEST_F(TelnetClientTest, timingMark_isRefusedAtOnce)
{
    m_operator->send(timingMarkRequest + "line\n");
    EXPECT_EQ(readLine(), "line");

    EXPECT_EQ(m_operator->receive(3), timingMarkRefusal);
    m_sut->send("a");
    m_sut->send("b");
    EXPECT_EQ(m_operator->receive(2), "ab") << "once";
}

TEST_F(TelnetClientTest, timingMark_whileTextIsKept_isRefusedBehindIt)
{
    const std::string sent = sendUntilTextIsKept();
    m_operator->send(timingMarkRequest + "line\n");
    EXPECT_EQ(readLine(), "line");

    EXPECT_TRUE(readAndFlush(sent.size() + 3) == sent + timingMarkRefusal);
}

TEST_F(TelnetClientTest, timingMarks_whileTextIsDropped_areOwedOneRefusal)
{
    const std::string sent = sendUntilTextIsDropped();
    m_operator->send(timingMarkRequest + timingMarkRequest + "one\n");
    EXPECT_EQ(readLine(), "one");
    m_operator->send(timingMarkRequest + "two\n");
    EXPECT_EQ(readLine(), "two");

    EXPECT_TRUE(readAndFlush(sent.size() + 3) == sent + timingMarkRefusal);
    m_sut->send(".");
    EXPECT_EQ(m_operator->receive(1), ".");
}

TEST_F(TelnetClientTest, close_whileTheOperatorReads_deliversWhatIsKept)
{
    const std::string sent = sendUntilTextIsKept();
    auto read = std::async(std::launch::async, [&] { return m_operator->receive(sent.size() + 1); });

    m_sut->close();

    EXPECT_TRUE(read.get() == sent);
}

TEST_F(TelnetClientTest, close_whenTheOperatorDoesNotRead_resetsThem)
{
    sendUntilTextStaysKept();

    m_sut->close();

    EXPECT_FALSE(m_sut->hasPendingText());
    EXPECT_TRUE(m_operator->waitForClose());
}

TEST_F(TelnetClientTest, afterClose_textIsLostAndNothingHappens)
{
    m_sut->close();

    m_sut->send("nobody is there");
    m_sut->flush();
    m_sut->close();

    EXPECT_FALSE(m_sut->hasPendingText());
    EXPECT_EQ(m_sut->fd(), -1);
    EXPECT_TRUE(m_operator->waitForClose());
    EXPECT_EQ(m_log.countHolding("Failed to write"), 0U);
}

} // namespace
