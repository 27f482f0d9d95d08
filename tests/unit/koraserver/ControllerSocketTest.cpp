#include "koraserver/ControllerSocket.h"

#include "runtime/util/UniqueFd.h"
#include "tests/support/FailingCall.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TcpSocket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

using com::tallowcrest::util::Failure;
using com::tallowcrest::util::SocketOption;
using com::tallowcrest::util::UniqueFd;
using testsupport::TcpSocket;
using Kind = SocketOption::Kind;

namespace
{

int intOption(int socket, int level, int name)
{
    int value = -1;
    socklen_t size = sizeof value;
    EXPECT_EQ(::getsockopt(socket, level, name, &value, &size), 0);
    return value;
}

class ListeningSocketTest : public testing::Test
{
protected:
    UniqueFd open() { return std::get<UniqueFd>(openControllerPort(m_log.logger())); }

    /// A client whose connection the system has taken, or not within some time.
    static bool connects(const UniqueFd& client)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(serverPort);
        static_cast<void>(::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
        pollfd entry{.fd = client.get(), .events = POLLOUT, .revents = 0};
        return ::poll(&entry, 1, 300) == 1;
    }

    testsupport::LogRecorder m_log;
};

} // namespace

TEST_F(ListeningSocketTest, ListensOnEveryAddressAtTheControllersPort)
{
    const UniqueFd sut = open();

    sockaddr_in address{};
    socklen_t size = sizeof address;
    ASSERT_EQ(::getsockname(sut.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_ANY));
    EXPECT_EQ(ntohs(address.sin_port), 5194);
    EXPECT_TRUE(TcpSocket::connect(5194).has_value());
}

TEST_F(ListeningSocketTest, CarriesItsOptionsWithTcpNodelayCleared)
{
    const UniqueFd sut = open();

    EXPECT_EQ(intOption(sut.get(), IPPROTO_TCP, TCP_NODELAY), 0);
    EXPECT_EQ(intOption(sut.get(), SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(intOption(sut.get(), SOL_SOCKET, SO_REUSEADDR), 1);
    linger value{};
    socklen_t size = sizeof value;
    ASSERT_EQ(::getsockopt(sut.get(), SOL_SOCKET, SO_LINGER, &value, &size), 0);
    EXPECT_EQ(value.l_onoff, 1);
    EXPECT_EQ(value.l_linger, 1);
    EXPECT_EQ(::fcntl(sut.get(), F_GETFL) & O_NONBLOCK, 0) << "the socket is a blocking one";
    EXPECT_NE(::fcntl(sut.get(), F_GETFD) & FD_CLOEXEC, 0) << "no child process inherits it";
}

TEST_F(ListeningSocketTest, BacklogIsFour)
{
    const UniqueFd sut = open();

    std::vector<UniqueFd> clients;
    do
    {
        clients.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    } while (connects(clients.back()) && clients.size() < 20);

    EXPECT_EQ(clients.size(), 6U) << "the system lets one more wait than the backlog says, and no other";
}

TEST_F(ListeningSocketTest, BindIsLoggedWithAddressPortAndDescriptor)
{
    const UniqueFd sut = open();

    EXPECT_EQ(m_log.texts(), std::vector<std::string>{"INFO bind IP addr 0x0 (0.0.0.0) Port: 5194 Socket " +
                                                      std::to_string(sut.get())});
}

TEST_F(ListeningSocketTest, TakenPortIsReportedAndNothingStaysOpen)
{
    const UniqueFd other = open();

    const auto failure = std::get<Failure>(openControllerPort(m_log.logger()));

    const UniqueFd next(::socket(AF_INET, SOCK_STREAM, 0)); // gets the number that the failed socket had
    EXPECT_EQ(failure.text, "failed binding socket " + std::to_string(next.get()) +
                                " to address/port 0.0.0.0, Address already in use");
}

TEST_F(ListeningSocketTest, PortOfConnectionsThatAreStillClosingCanBeTakenAgain)
{
    auto first = open();
    auto client = TcpSocket::connect(5194);
    ASSERT_TRUE(client.has_value());
    UniqueFd accepted(::accept(first.get(), nullptr, nullptr));
    accepted.reset(); // the server's end closes first, so its port waits in TIME_WAIT
    ASSERT_TRUE(client->waitForClose());
    client->close();
    first.reset();

    EXPECT_TRUE(std::holds_alternative<UniqueFd>(openControllerPort(m_log.logger())));
}

TEST_F(ListeningSocketTest, NoDescriptorLeftIsReported)
{
    const auto logger = m_log.logger(); // the sanitizer needs a descriptor to look at its type for the first time
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);

    const auto opened = openControllerPort(logger);

    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(std::get<Failure>(opened).text, "socket() failed, Too many open files");
}

namespace
{

class ControllerPortTest : public ListeningSocketTest
{
protected:
    /// Whether somebody else gets the port, who would share it.
    static bool isFree()
    {
        const UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const int on = 1;
        EXPECT_EQ(::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(serverPort);
        return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }

    ControllerPort m_sut{m_log.logger()};
};

} // namespace

TEST_F(ControllerPortTest, HeldPortIsNobodyElsesAndRefuses)
{
    EXPECT_EQ(m_sut.hold(), std::nullopt);
    EXPECT_EQ(m_sut.hold(), std::nullopt) << "once more is no more";

    EXPECT_FALSE(isFree());
    EXPECT_FALSE(m_sut.isListening());
    EXPECT_FALSE(TcpSocket::connect(serverPort).has_value());
    EXPECT_TRUE(m_log.texts().empty()) << "nothing is open";
}

TEST_F(ControllerPortTest, ListensAgainAfterItRefused)
{
    ASSERT_EQ(m_sut.hold(), std::nullopt);
    const int descriptor = m_sut.fd();
    for (int round = 0; round < 3; ++round)
    {
        ASSERT_EQ(m_sut.listen(), std::nullopt);
        EXPECT_TRUE(m_sut.isListening());
        auto client = TcpSocket::connect(serverPort);
        ASSERT_TRUE(client.has_value());
        EXPECT_FALSE(isFree());
        const UniqueFd accepted(::accept(m_sut.fd(), nullptr, nullptr));
        EXPECT_TRUE(accepted.isOpen());
        EXPECT_EQ(intOption(m_sut.fd(), SOL_SOCKET, SO_REUSEADDR), 1);

        m_sut.refuse();
        EXPECT_FALSE(TcpSocket::connect(serverPort).has_value());
        EXPECT_FALSE(isFree()) << "with a connection that lives on";
    }
    EXPECT_EQ(m_sut.fd(), descriptor);
    EXPECT_EQ(m_log.countHolding("INFO bind IP addr 0x0 (0.0.0.0) Port: 5194 Socket "), 3U);
}

TEST_F(ControllerPortTest, ReleasedPortIsFree)
{
    ASSERT_EQ(m_sut.hold(), std::nullopt);
    ASSERT_EQ(m_sut.listen(), std::nullopt);

    m_sut.release();

    EXPECT_FALSE(m_sut.isListening());
    EXPECT_TRUE(isFree());
}

TEST_F(ControllerPortTest, TakenPortIsReported)
{
    const UniqueFd other = open();

    const auto failure = m_sut.hold();

    ASSERT_NE(failure, std::nullopt);
    EXPECT_TRUE(failure->text.ends_with(" to address/port 0.0.0.0, Address already in use"));
}

namespace
{

struct FailingStep
{
    std::vector<testsupport::FailingCall> calls;
    std::string text; ///< with # for the descriptor
};

class ListeningSocketFailureTest : public ListeningSocketTest, public testing::WithParamInterface<FailingStep>
{};

} // namespace

TEST_P(ListeningSocketFailureTest, StepThatFailsIsReportedAndNothingStaysOpen)
{
    std::variant<UniqueFd, Failure> opened;

    if (!testsupport::withFailingCalls(GetParam().calls, [&] { opened = openControllerPort(m_log.logger()); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    const UniqueFd next(::socket(AF_INET, SOCK_STREAM, 0)); // gets the number that the failed socket had
    std::string expected = GetParam().text;
    expected.replace(expected.find('#'), 1, std::to_string(next.get()));
    ASSERT_TRUE(std::holds_alternative<Failure>(opened));
    EXPECT_EQ(std::get<Failure>(opened).text, expected);
    EXPECT_FALSE(testsupport::isListening(serverPort));
}

INSTANTIATE_TEST_SUITE_P(
    Steps, ListeningSocketFailureTest,
    testing::Values(FailingStep{{{SYS_setsockopt, ENOBUFS, {{1, SOL_SOCKET}, {2, SO_KEEPALIVE}}}},
                                "failed setting SO_KEEPALIVE socket option on socket #, No buffer space available"},
                    FailingStep{{{SYS_setsockopt, ENOBUFS, {{1, SOL_SOCKET}, {2, SO_LINGER}}}},
                                "failed setting SO_LINGER socket option on socket #, No buffer space available"},
                    FailingStep{{{SYS_listen, EADDRINUSE}},
                                "listen failed using socket # to address/port 0.0.0.0, Address already in use\n"}));

namespace
{

using Row = std::tuple<std::string, Kind, int, int, int>;

template <typename Table>
std::vector<Row> rows(const Table& table)
{
    std::vector<Row> all;
    for (const SocketOption& option : table)
    {
        all.emplace_back(option.text, option.kind, option.level, option.name, option.value);
    }
    return all;
}

} // namespace

TEST(SocketOption, ListeningSocketIsSetUpInTheOrderThatEndsWithoutTcpNodelay)
{
    // Option 1 of the TCP level is TCP_NODELAY, although the last row speaks of SO_DEBUG.
    EXPECT_EQ(rows(listeningOptions), (std::vector<Row>{{"SO_KEEPALIVE", Kind::Number, SOL_SOCKET, SO_KEEPALIVE, 1},
                                                        {"SO_REUSEADDR", Kind::Number, SOL_SOCKET, SO_REUSEADDR, 1},
                                                        {"FIONBIO blocking", Kind::Blocking, 0, 0, 0},
                                                        {"TCP_NODELAY", Kind::Number, IPPROTO_TCP, 1, 1},
                                                        {"SO_DEBUG", Kind::Number, IPPROTO_TCP, 1, 0}}));
    EXPECT_EQ(rows(boundOptions), (std::vector<Row>{{"SO_LINGER", Kind::Linger, SOL_SOCKET, SO_LINGER, 1}}));
}

TEST(SocketOption, AcceptedSocketIsSetUpInOrder)
{
    EXPECT_EQ(rows(acceptedOptions),
              (std::vector<Row>{{"SO_LINGER", Kind::Linger, SOL_SOCKET, SO_LINGER, 1},
                                {"SO_KEEPALIVE", Kind::Number, SOL_SOCKET, SO_KEEPALIVE, 1},
                                {"TCP_KEEPIDLE", Kind::Number, IPPROTO_TCP, TCP_KEEPIDLE, 300}}));
}

TEST(SocketOption, ListeningOptionsLeaveTcpNodelayCleared)
{
    const UniqueFd socket(::socket(AF_INET, SOCK_STREAM, 0));

    ASSERT_EQ(applySocketOptions(socket.get(), std::span(listeningOptions).first(4)), std::nullopt);
    EXPECT_EQ(intOption(socket.get(), IPPROTO_TCP, TCP_NODELAY), 1);
    ASSERT_EQ(applySocketOptions(socket.get(), std::span(listeningOptions).last(1)), std::nullopt);
    EXPECT_EQ(intOption(socket.get(), IPPROTO_TCP, TCP_NODELAY), 0);
}

TEST(SocketOption, AcceptedOptionsTakeEffect)
{
    const UniqueFd socket(::socket(AF_INET, SOCK_STREAM, 0));

    ASSERT_EQ(applySocketOptions(socket.get(), acceptedOptions), std::nullopt);

    linger value{};
    socklen_t size = sizeof value;
    ASSERT_EQ(::getsockopt(socket.get(), SOL_SOCKET, SO_LINGER, &value, &size), 0);
    EXPECT_EQ(value.l_onoff, 1);
    EXPECT_EQ(value.l_linger, 1);
    EXPECT_EQ(intOption(socket.get(), SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(intOption(socket.get(), IPPROTO_TCP, TCP_KEEPIDLE), 300);
}

namespace
{

struct RefusedStep
{
    SocketOption option;
    int domain;
    int type;
    std::string text; ///< with # for the descriptor
};

class SocketOptionFailure : public testing::TestWithParam<RefusedStep>
{};

} // namespace

TEST_P(SocketOptionFailure, IsReportedWithTheTextOfItsStep)
{
    const UniqueFd socket(GetParam().domain < 0 ? -1 : ::socket(GetParam().domain, GetParam().type, 0));

    const auto failure = applySocketOptions(socket.get(), std::span(&GetParam().option, 1));

    ASSERT_NE(failure, std::nullopt);
    std::string expected = GetParam().text;
    expected.replace(expected.find('#'), 1, std::to_string(socket.get()));
    EXPECT_EQ(failure->text, expected);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, SocketOptionFailure,
    testing::Values(RefusedStep{listeningOptions[0], -1, 0,
                                "failed setting SO_KEEPALIVE socket option on socket #, Bad file descriptor"},
                    RefusedStep{listeningOptions[1], -1, 0,
                                "failed setting SO_REUSEADDR socket option on socket #, Bad file descriptor"},
                    RefusedStep{listeningOptions[2], -1, 0,
                                "failed setting FIONBIO blocking socket option on socket #, Bad file descriptor"},
                    RefusedStep{listeningOptions[3], AF_UNIX, SOCK_STREAM,
                                "failed setting TCP_NODELAY socket option on socket #, Operation not supported"},
                    RefusedStep{listeningOptions[4], AF_UNIX, SOCK_STREAM,
                                "failed setting SO_DEBUG socket option on socket #, Operation not supported"},
                    RefusedStep{boundOptions[0], -1, 0,
                                "failed setting SO_LINGER socket option on socket #, Bad file descriptor"},
                    RefusedStep{acceptedOptions[2], AF_UNIX, SOCK_STREAM,
                                "failed setting TCP_KEEPIDLE socket option on socket #, Operation not supported"}));
