#include "runtime/util/Sockets.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TcpSocket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <string>
#include <variant>
#include <vector>

using namespace com::tallowcrest::util;

namespace
{

constexpr std::uint16_t port = 5200;
constexpr std::array<SocketOption, 1> unknownOptions{{{"SO_UNKNOWN", SocketOption::Kind::Number, SOL_SOCKET, 9999, 1}}};

class ListeningSocketTest : public testing::Test
{
protected:
    testsupport::LogRecorder m_log;
};

} // namespace

TEST_F(ListeningSocketTest, BindIsLoggedWithTheCallersLocation)
{
    const auto opened = openListeningSocket({.port = port}, m_log.logger(), nullptr);
    const int line = __LINE__ - 1;

    const auto lines = m_log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text,
              "bind IP addr 0x0 (0.0.0.0) Port: 5200 Socket " + std::to_string(std::get<UniqueFd>(opened).get()));
    EXPECT_EQ(lines[0].level, "INFO");
    EXPECT_EQ(lines[0].file, "ListeningSocketTest.cpp");
    EXPECT_EQ(lines[0].line, line);
}

TEST_F(ListeningSocketTest, WhatFailedHasTheCallersLocation)
{
    const auto other = openListeningSocket({.port = port}, nullptr, nullptr);

    const auto opened = openListeningSocket({.port = port}, nullptr, nullptr);
    const unsigned line = __LINE__ - 1;

    ASSERT_TRUE(std::holds_alternative<Failure>(opened));
    EXPECT_TRUE(std::get<Failure>(opened).text.ends_with(" to address/port 0.0.0.0, Address already in use"));
    EXPECT_EQ(std::get<Failure>(opened).where.line, line);
}

TEST_F(ListeningSocketTest, AsManyClientsMayWaitAsIsSaid)
{
    const auto opened = openListeningSocket({.port = port}, nullptr, nullptr);
    tcp_info info{};
    socklen_t size = sizeof(info);

    ASSERT_EQ(::getsockopt(std::get<UniqueFd>(opened).get(), IPPROTO_TCP, TCP_INFO, &info, &size), 0);

    EXPECT_EQ(info.tcpi_sacked, 4U); // of a listening socket: how many may wait
}

TEST_F(ListeningSocketTest, RefusedOptionIsAFailureWhereItIsToBe)
{
    const auto opened = openListeningSocket({.port = port, .options = unknownOptions}, m_log.logger(), m_log.logger());

    ASSERT_TRUE(std::holds_alternative<Failure>(opened));
    EXPECT_FALSE(testsupport::TcpSocket::connect(port).has_value());
    EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(ListeningSocketTest, OptionThatIsRefusedOnceThePortIsBoundIsAFailureAndTheBindAVainOne)
{
    const auto opened = openListeningSocket({.port = port, .boundOptions = unknownOptions}, nullptr, m_log.logger());

    ASSERT_TRUE(std::holds_alternative<Failure>(opened));
    ASSERT_EQ(m_log.lines().size(), 1U);
    EXPECT_EQ(m_log.countHolding("INFO bind IP addr 0x0 (0.0.0.0) Port: 5200 Socket "), 1U);
}

TEST_F(ListeningSocketTest, RefusedOptionIsLoggedWhereItIsNoFailure)
{
    const auto opened = openListeningSocket(
        {.port = port, .options = unknownOptions, .refusedOption = RefusedOption::IsLogged}, nullptr, m_log.logger());

    ASSERT_TRUE(std::holds_alternative<UniqueFd>(opened));
    EXPECT_TRUE(testsupport::TcpSocket::connect(port).has_value());
    EXPECT_EQ(m_log.countHolding("WARN failed setting SO_UNKNOWN socket option on socket "), 1U);
}

TEST_F(ListeningSocketTest, IsBlockingUnlessItIsToBeOtherwise)
{
    const auto blocking = openListeningSocket({.port = port}, nullptr, nullptr);
    const auto other = openListeningSocket({.port = port + 1, .typeFlags = SOCK_NONBLOCK}, nullptr, nullptr);

    EXPECT_EQ(::fcntl(std::get<UniqueFd>(blocking).get(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(::fcntl(std::get<UniqueFd>(other).get(), F_GETFL) & O_NONBLOCK, 0);
}
