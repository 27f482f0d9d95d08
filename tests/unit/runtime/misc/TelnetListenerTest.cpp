#include "runtime/misc/TelnetListener.h"

#include "tests/support/FailingCall.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/Places.h"
#include "tests/support/TcpSocket.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

using namespace com::tallowcrest::misc;

namespace
{

constexpr std::uint16_t port = testsupport::telnetPort;

class TelnetListenerTest : public testing::Test
{
protected:
    std::vector<std::string> warnings() const
    {
        std::vector<std::string> texts;
        for (const auto& line : m_log.lines())
        {
            if (line.level == "WARN")
            {
                texts.push_back(line.text);
            }
        }
        return texts;
    }

    testsupport::LogRecorder m_log;
    TelnetListener m_sut{log4cxx::Logger::getLogger("KORABRIDGE"), port};
};

TEST_F(TelnetListenerTest, open_whenItIsOpenAlready_opensAnew)
{
    ASSERT_TRUE(m_sut.open(true));

    EXPECT_TRUE(m_sut.open(true));

    EXPECT_EQ("shutting down TCP server socket prior to re-opening", m_log.lines().at(1).text);
    EXPECT_TRUE(testsupport::TcpSocket::connect(port));
    EXPECT_TRUE(m_sut.accept());
    EXPECT_FALSE(m_sut.accept()) << "one client came";
}

TEST_F(TelnetListenerTest, open_withoutADescriptor_saysSoAndStaysClosed)
{
    bool isOpen = true;

    if (!testsupport::withFailingCalls({{SYS_socket, EMFILE}}, [&] { isOpen = m_sut.open(true); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    EXPECT_FALSE(isOpen);
    EXPECT_FALSE(m_sut.isOpen());
    EXPECT_EQ((std::vector<std::string>{"socket() failed, Too many open files"}), warnings());
}

TEST_F(TelnetListenerTest, open_whenItCannotListen_saysSoAndStaysClosed)
{
    bool isOpen = true;

    if (!testsupport::withFailingCalls({{SYS_listen, EADDRINUSE}}, [&] { isOpen = m_sut.open(true); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    EXPECT_FALSE(isOpen);
    EXPECT_FALSE(m_sut.isOpen());
    ASSERT_EQ(1U, warnings().size());
    EXPECT_NE(std::string::npos, warnings()[0].find("listen failed using socket ")) << warnings()[0];
    EXPECT_NE(std::string::npos, warnings()[0].find(" to address/port 0.0.0.0, Address already in use\n"))
        << warnings()[0];
}

TEST_F(TelnetListenerTest, open_whenOptionsCannotBeSet_saysSoAndListens)
{
    TelnetListener sut(log4cxx::Logger::getLogger("KORABRIDGE"), port + 1); // which no other test has used

    if (!testsupport::withFailingCalls({{SYS_setsockopt, ENOBUFS}}, [&] { sut.open(true); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    EXPECT_TRUE(testsupport::TcpSocket::connect(port + 1));
    const std::string socket = std::to_string(sut.fd());
    EXPECT_EQ((std::vector<std::string>{
                  "failed setting SO_REUSEADDR socket option on socket " + socket + ", No buffer space available",
                  "failed setting TCP_NODELAY socket option on socket " + socket + ", No buffer space available"}),
              warnings());
}

TEST_F(TelnetListenerTest, open_whenFailuresAreNotWanted_isSilent)
{
    if (!testsupport::withFailingCalls({{SYS_listen, EADDRINUSE}}, [&] { m_sut.open(false); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    EXPECT_TRUE(m_log.lines().empty());
}

} // namespace
