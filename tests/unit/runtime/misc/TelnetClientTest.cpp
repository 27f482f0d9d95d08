#include "runtime/misc/TelnetClient.h"

#include "tests/support/LogRecorder.h"
#include "tests/support/Places.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <string>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace com::tallowcrest::misc;
using testsupport::TcpSocket;
using testsupport::waitUntil;
using namespace std::chrono_literals;

namespace
{

const std::string timingMarkRequest = "\xff\xfd\x06"; // IAC DO TIMING-MARK
const std::string timingMarkRefusal = "\xff\xfc\x06"; // IAC WONT TIMING-MARK

/// The bridge's end of a connection and the operator's.
class TelnetClientTest : public testing::Test
{
protected:
    TelnetClientTest()
    {
        EXPECT_TRUE(m_listener.open(true));
        m_operator = TcpSocket::connect(testsupport::telnetPort);
        std::optional<TelnetListener::Accepted> accepted;
        EXPECT_TRUE(m_operator && waitUntil([&] {
                        accepted = m_listener.accept();
                        return accepted.has_value();
                    }));
        m_sut.emplace(testsupport::LogRecorder::logger(), std::move(*accepted), 7);
        m_descriptor = std::to_string(m_sut->fd());
        // Sizes of their own, so that the system does not make more room while text is kept.
        const int room = 65536;
        EXPECT_EQ(::setsockopt(m_sut->fd(), SOL_SOCKET, SO_SNDBUF, &room, sizeof(room)), 0);
        EXPECT_EQ(::setsockopt(m_operator->fd(), SOL_SOCKET, SO_RCVBUF, &room, sizeof(room)), 0);
    }

    /// Takes what has been typed, until there is a line.
    std::optional<std::string> readLine()
    {
        std::optional<std::string> line;
        waitUntil([&] {
            EXPECT_TRUE(m_sut->receive());
            line = m_sut->takeLine();
            return line.has_value();
        });
        return line;
    }
    /// Sends until `condition` holds, which a few buffers' worth of text must achieve; returns what was sent before the
    /// last text and that text.
    template <typename Condition>
    std::pair<std::string, std::string> sendUntil(Condition condition)
    {
        std::string before;
        for (int i = 0; i < 1000; ++i)
        {
            const std::string text(10'000, static_cast<char>('a' + i % 26));
            m_sut->send(text);
            if (condition())
            {
                return {before, text};
            }
            before += text;
        }
        ADD_FAILURE() << "the socket takes any amount of text";
        return {before, {}};
    }
    /// Sends until text is kept because the socket takes no more; returns all that was sent.
    std::string sendUntilTextIsKept()
    {
        const auto [before, last] = sendUntil([this] { return m_sut->hasPendingText(); });
        return before + last;
    }
    /// Sends until a text is dropped, which is not among what is returned.
    std::string sendUntilTextIsDropped()
    {
        return sendUntil([this] { return m_log.countHolding("is not reading") > 0; }).first;
    }
    /// Reads and flushes until so much has arrived.
    std::string readAndFlush(std::size_t size)
    {
        std::string read;
        waitUntil([&] {
            m_sut->flush();
            read += m_operator->receive(size - read.size(), 1ms);
            return read.size() == size;
        });
        return read;
    }
    int option(int level, int name) const
    {
        int value = 0;
        socklen_t size = sizeof(value);
        EXPECT_EQ(::getsockopt(m_sut->fd(), level, name, &value, &size), 0);
        return value;
    }

    testsupport::LogRecorder m_log;
    TelnetListener m_listener{testsupport::LogRecorder::logger(), testsupport::telnetPort};
    std::optional<TcpSocket> m_operator;
    std::optional<TelnetClient> m_sut;
    std::string m_descriptor;
};

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

TEST_F(TelnetClientTest, close_whenTheOperatorDoesNotRead_resetsThemWithinASecond)
{
    sendUntilTextIsKept();
    const auto begin = std::chrono::steady_clock::now();

    m_sut->close();

    EXPECT_LT(std::chrono::steady_clock::now() - begin, testsupport::scaled(1000ms));
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
