#include "koraclient/BridgeHosts.h"

#include "koraclient/Errors.h"
#include "tests/fakes/FakeBridge.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

using namespace koraclient;
using namespace std::chrono_literals;

namespace
{

constexpr std::uint32_t secondAddress = 0x7f000002;
constexpr std::uint32_t thirdAddress = 0x7f000003;

/// Answers every request as the port presence.
FakeReply answer(const Message& request, std::uint32_t sequence)
{
    return {responseTo(request, sequence, 0x80004000, {0}), false};
}

FakeReply silence(const Message&, std::uint32_t)
{
    return {};
}

FakeReply hangUp(const Message&, std::uint32_t)
{
    return {{}, true};
}

/// Three bridges of one router, at three addresses and one port; each can be missing.
class BridgeHostsTest : public testing::Test
{
protected:
    BridgeHosts hosts(std::chrono::milliseconds timeout = 10s) const
    {
        return BridgeHosts({"127.0.0.1", "127.0.0.2", "127.0.0.3"}, m_first->port(), timeout);
    }

    std::unique_ptr<FakeBridge> m_first = std::make_unique<FakeBridge>(&answer);
    FakeBridge m_second{&answer, secondAddress, m_first->port()};
    FakeBridge m_third{&answer, thirdAddress, m_first->port()};
};

} // namespace

TEST_F(BridgeHostsTest, ConnectsToTheFirstWhileItAnswers)
{
    auto sut = hosts();

    (void)sut.connect();
    (void)sut.connect();

    EXPECT_EQ(sut.current(), "127.0.0.1");
    EXPECT_EQ(sut.next(), "127.0.0.2");
    EXPECT_TRUE(sut.passedBy().empty());
    EXPECT_TRUE(m_second.requests().empty());
}

TEST_F(BridgeHostsTest, GoesByABridgeThatIsGoneAndStaysWithTheNext)
{
    auto sut = hosts();
    (void)sut.connect();
    const std::uint16_t port = m_first->port();
    m_first.reset();

    EXPECT_EQ(sut.connect().portPresent(), 0U);
    EXPECT_EQ(sut.current(), "127.0.0.2");
    EXPECT_EQ(sut.passedBy(), std::vector<std::string>{"cannot connect to 127.0.0.1 port " + std::to_string(port) +
                                                       ": Connection refused"});
    (void)sut.connect();
    EXPECT_TRUE(sut.passedBy().empty()) << "it begins with the one that answered last";
}

TEST_F(BridgeHostsTest, SkippedBridgeIsTheLastToBeTried)
{
    auto sut = hosts();
    (void)sut.connect();

    sut.skip();
    (void)sut.connect();
    EXPECT_EQ(sut.current(), "127.0.0.2");
    sut.skip();
    sut.skip();
    (void)sut.connect();

    EXPECT_EQ(sut.current(), "127.0.0.1") << "behind the last comes the first";
}

TEST(BridgeHosts, GoesByABridgeThatAcceptsAndHangs)
{
    const FakeBridge first(&silence);
    const FakeBridge second(&answer, secondAddress, first.port());
    BridgeHosts sut({"127.0.0.1", "127.0.0.2"}, first.port(), 300ms);

    KoraClient client = sut.connect();

    EXPECT_EQ(sut.current(), "127.0.0.2");
    EXPECT_EQ(sut.passedBy(), std::vector<std::string>{"127.0.0.1: the bridge did not answer in time"});
}

TEST(BridgeHosts, GoesByABridgeThatAcceptsAndCloses)
{
    const FakeBridge first(&hangUp);
    const FakeBridge second(&answer, secondAddress, first.port());
    BridgeHosts sut({"127.0.0.1", "127.0.0.2"}, first.port(), 10s);

    KoraClient client = sut.connect();

    EXPECT_EQ(sut.current(), "127.0.0.2");
}

TEST(BridgeHosts, GivenAllGoneNamesEachReason)
{
    const FakeBridge first(&hangUp);
    BridgeHosts sut({"127.0.0.1", "127.0.0.2"}, first.port(), 10s);

    try
    {
        (void)sut.connect();
        FAIL();
    }
    catch (const ConnectError& problem)
    {
        const std::string text = problem.what();
        EXPECT_EQ(text.find("127.0.0.1: the bridge "), 0U) << text;
        EXPECT_NE(text.find("; cannot connect to 127.0.0.2 port "), std::string::npos) << text;
    }
}

TEST(BridgeHosts, OnlyHostIsAskedNothing)
{
    const FakeBridge only(&answer);
    BridgeHosts sut({"127.0.0.1"}, only.port(), 10s);

    (void)sut.connect();

    EXPECT_TRUE(only.requests().empty());
    EXPECT_THROW(BridgeHosts({}), std::invalid_argument);
}
