#include "runtime/util/Sockets.h"

#include "runtime/util/UniqueFd.h"
#include "tests/support/LogRecorder.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace com::tallowcrest::util;

namespace
{

constexpr SocketOption unknownOption{"SO_UNKNOWN", SocketOption::Kind::Number, SOL_SOCKET, 9999, 1};
constexpr SocketOption keepAlive{"SO_KEEPALIVE", SocketOption::Kind::Number, SOL_SOCKET, SO_KEEPALIVE, 1};

class SocketOptionTest : public testing::Test
{
protected:
    bool isKeptAlive() const
    {
        int value = 0;
        socklen_t size = sizeof value;
        EXPECT_EQ(::getsockopt(m_socket.get(), SOL_SOCKET, SO_KEEPALIVE, &value, &size), 0);
        return value != 0;
    }

    const UniqueFd m_socket{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    const std::string m_number = std::to_string(m_socket.get());
};

} // namespace

TEST_F(SocketOptionTest, RefusedOptionIsReturnedWithTheSocketsNameAndTheCallersLocation)
{
    SocketOption option = unknownOption;
    option.socket = "client socket";

    const auto failure = applySocketOptions(m_socket.get(), {&option, 1});
    const unsigned line = __LINE__ - 1;

    ASSERT_NE(failure, std::nullopt);
    EXPECT_EQ(failure->text,
              "failed setting SO_UNKNOWN socket option on client socket " + m_number + ", Protocol not available");
    EXPECT_TRUE(std::string(failure->where.file).ends_with("SocketsTest.cpp"));
    EXPECT_EQ(failure->where.line, line);
}

TEST_F(SocketOptionTest, StepsBehindARefusedOneAreNotTaken)
{
    const std::vector<SocketOption> options{unknownOption, keepAlive};

    EXPECT_NE(applySocketOptions(m_socket.get(), options), std::nullopt);

    EXPECT_FALSE(isKeptAlive());
}

TEST_F(SocketOptionTest, StepsThatAreTriedEachAreAllTakenAndTheRefusedLoggedWithTheCallersLocation)
{
    const testsupport::LogRecorder log;
    const std::vector<SocketOption> options{unknownOption, keepAlive, unknownOption};

    tryEachSocketOption(m_socket.get(), options, log.logger());
    const int line = __LINE__ - 1;

    EXPECT_TRUE(isKeptAlive());
    const std::string refusal =
        "WARN failed setting SO_UNKNOWN socket option on socket " + m_number + ", Protocol not available";
    EXPECT_EQ(log.texts(), (std::vector<std::string>{refusal, refusal}));
    for (const auto& each : log.lines())
    {
        EXPECT_EQ(each.file, "SocketsTest.cpp");
        EXPECT_EQ(each.line, line);
    }
}

TEST_F(SocketOptionTest, CloseOfASocketThatIsResetDoesNotLinger)
{
    ASSERT_EQ(applySocketOptions(m_socket.get(), resetOnClose), std::nullopt);

    linger value{};
    socklen_t size = sizeof value;
    ASSERT_EQ(::getsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &value, &size), 0);
    EXPECT_EQ(value.l_onoff, 1);
    EXPECT_EQ(value.l_linger, 0);
}

TEST(Ipv4AddressTest, DottedTextHasNoZerosInFront)
{
    EXPECT_EQ(dottedText(htonl(0x7f000001)), "127.0.0.1");
}

TEST(Ipv4AddressTest, PaddedTextHasThreeDigitsForEachPart)
{
    EXPECT_EQ(paddedText(htonl(0x7f000001)), "127.000.000.001");
    EXPECT_EQ(paddedText(htonl(0x0aff6409)), "010.255.100.009");
}
