#include "bench/korabench/Controller.h"

#include "tests/fakes/FakeBridge.h"

#include <gtest/gtest.h>

using namespace korabench;
using koraclient::Message;

namespace
{

std::vector<Request> takes(std::uint32_t entries = 1)
{
    RequestShape shape;
    shape.entries = entries;
    return buildRequests({Command::Take}, shape);
}

FakeReply answerTake(const Message& request, std::uint32_t sequence)
{
    return {responseTo(request, sequence, 0x80000050, {1, 0}), false};
}

/// What a controller says of the reply to its second take.
std::string secondFailure(const FakeBridge::Handler& second)
{
    const FakeBridge bridge([&](const Message& request, std::uint32_t sequence) {
        return sequence == 0 ? answerTake(request, sequence) : second(request, sequence);
    });
    Controller sut({.port = bridge.port()}, takes());
    sut.probe();
    try
    {
        sut.send();
        while (!sut.receive())
        {}
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
    return "";
}

} // namespace

TEST(Controller, GivenRightAnswersCountsThemAndTheirEntries)
{
    const FakeBridge bridge(&answerTake);
    Controller sut({.port = bridge.port()}, takes());

    for (int i = 0; i < 3; ++i)
    {
        sut.send();
        EXPECT_TRUE(sut.isWaiting());
        while (!sut.receive())
        {}
        EXPECT_FALSE(sut.isWaiting());
        EXPECT_GT(sut.latency().count(), 0);
    }

    EXPECT_EQ(sut.responseCount(), 3U);
    EXPECT_EQ(sut.lastEntries(), 1U);
    const auto requests = bridge.requests();
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_EQ(requests[2].sequence(), requests[0].sequence() + 2);
    EXPECT_NE(requests[1].word(28), requests[0].word(28)) << "each take moves the output to another input";
    EXPECT_EQ(requests[1].word(32), requests[0].word(32));
}

TEST(Controller, GivenARefusedTakeFails)
{
    const std::string text = secondFailure([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x80000050, {1, 13}), false};
    });

    EXPECT_NE(text.find("wrong response: result 0x0000000d came"), std::string::npos) << text;
}

TEST(Controller, GivenTheTagOfAnotherRequestFails)
{
    const std::string text = secondFailure([](const Message& request, std::uint32_t sequence) {
        auto bytes = responseTo(request, sequence, 0x80000050, {1, 0});
        bytes[19] ^= 1U;
        return FakeReply{bytes, false};
    });

    EXPECT_NE(text.find("tag"), std::string::npos) << text;
}

TEST(Controller, GivenAResponseLeftOutFails)
{
    const std::string text = secondFailure([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence + 1, 0x80000050, {1, 0}), false};
    });

    EXPECT_NE(text.find("sequence"), std::string::npos) << text;
}

TEST(Controller, GivenMoreBytesThanTheLengthWordSaysFails)
{
    const std::string text = secondFailure([](const Message& request, std::uint32_t sequence) {
        auto bytes = responseTo(request, sequence, 0x80000050, {1, 0});
        bytes.push_back(0);
        return FakeReply{bytes, false};
    });

    EXPECT_NE(text.find("length word"), std::string::npos) << text;
}

TEST(Controller, GivenAnImpossibleLengthFails)
{
    const std::string text = secondFailure([](const Message& request, std::uint32_t sequence) {
        auto bytes = responseTo(request, sequence, 0x80000050, {1, 0});
        bytes[8] = 1;
        return FakeReply{bytes, false};
    });

    EXPECT_NE(text.find("length word"), std::string::npos) << text;
}

TEST(Controller, GivenTheConnectionClosedFails)
{
    const std::string text =
        secondFailure([](const Message&, std::uint32_t) { return FakeReply{.bytes = {}, .isClosing = true}; });

    EXPECT_NE(text.find("closed the connection"), std::string::npos) << text;
}

TEST(Controller, GivenTheConnectionClosedBeforeTheFirstAnswerIsNotConnected)
{
    const FakeBridge bridge([](const Message&, std::uint32_t) { return FakeReply{.bytes = {}, .isClosing = true}; });
    Controller sut({.port = bridge.port()}, takes());

    EXPECT_THROW(sut.probe(), NotConnected);
}

TEST(Controller, GivenNobodyListeningIsNotConnected)
{
    std::uint16_t port = 0;
    {
        const FakeBridge bridge(&answerTake);
        port = bridge.port();
    }

    EXPECT_THROW(Controller({.port = port}, takes()), NotConnected);
}

TEST(Controller, GivenChangesLeftPollsUntilThereAreNone)
{
    const FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        const bool isChanged = sequence < 2;
        return FakeReply{responseTo(request, sequence, 0x80000053,
                                    isChanged ? std::vector<std::uint32_t>{0, 1, 1, 0, 0, 5, 5, 0, 0}
                                              : std::vector<std::uint32_t>{0, 1, 0, 0}),
                         false};
    });
    Controller sut({.port = bridge.port()}, buildRequests({Command::Changes}, {}));

    sut.drainChanges();

    EXPECT_EQ(sut.changesSeen(), 2U);
    EXPECT_GE(sut.responseCount(), 3U);
}
