#include "koraserver/ControllerSocket.h"

#include "runtime/util/UniqueFd.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <string>
#include <tuple>
#include <vector>

using com::tallowcrest::util::SocketOption;
using com::tallowcrest::util::UniqueFd;
using Kind = SocketOption::Kind;

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

int intOption(int socket, int level, int name)
{
    int value = -1;
    socklen_t size = sizeof value;
    EXPECT_EQ(::getsockopt(socket, level, name, &value, &size), 0);
    return value;
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

struct FailingStep
{
    SocketOption option;
    int domain;
    int type;
    std::string text; ///< with # for the descriptor
};

class SocketOptionFailure : public testing::TestWithParam<FailingStep>
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
    testing::Values(FailingStep{listeningOptions[0], -1, 0,
                                "failed setting SO_KEEPALIVE socket option on socket #, Bad file descriptor"},
                    FailingStep{listeningOptions[1], -1, 0,
                                "failed setting SO_REUSEADDR socket option on socket #, Bad file descriptor"},
                    FailingStep{listeningOptions[2], -1, 0,
                                "failed setting FIONBIO blocking socket option on socket #, Bad file descriptor"},
                    FailingStep{listeningOptions[3], AF_UNIX, SOCK_STREAM,
                                "failed setting TCP_NODELAY socket option on socket #, Operation not supported"},
                    FailingStep{listeningOptions[4], AF_UNIX, SOCK_STREAM,
                                "failed setting SO_DEBUG socket option on socket #, Operation not supported"},
                    FailingStep{boundOptions[0], -1, 0,
                                "failed setting SO_LINGER socket option on socket #, Bad file descriptor"},
                    FailingStep{acceptedOptions[2], AF_UNIX, SOCK_STREAM,
                                "failed setting TCP_KEEPIDLE socket option on socket #, Operation not supported"}));
