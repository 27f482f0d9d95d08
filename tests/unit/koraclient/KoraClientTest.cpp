#include "koraclient/KoraClient.h"

#include "koraclient/Errors.h"
#include "runtime/util/UniqueFd.h"
#include "tests/fakes/FakeBridge.h"
#include "tests/fakes/UnattendedListener.h"
#include "tests/support/FailingCall.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>

using namespace koraclient;
using namespace std::chrono_literals;
using com::tallowcrest::util::UniqueFd;

namespace
{

/// Long enough that only a hang reaches it, short where a test waits for it to pass.
constexpr auto patient = 10s;
constexpr auto brief = 50ms;

/// Answers every request as a take of one entry with result 0.
FakeReply answerTake(const Message& request, std::uint32_t sequence)
{
    return {responseTo(request, sequence, 0x80000050, {1, 0}), false};
}

std::string textOf(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const ProtocolError& problem)
    {
        return problem.what();
    }
    return "no protocol error";
}

} // namespace

TEST(KoraClient, GivenAnswersReturnsThemAndCountsTagsUp)
{
    FakeBridge bridge(&answerTake);
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    const auto first = sut.take({{.level = 1, .lprId = 0, .input = 2, .output = 3}});
    const auto second = sut.coherentTake({{.level = 1, .lprId = 0, .input = 2, .output = 3}});

    EXPECT_EQ(first, (std::vector<std::uint32_t>{0}));
    EXPECT_EQ(second, (std::vector<std::uint32_t>{0}));
    EXPECT_EQ(sut.expectedSequence(), 2U);
    const auto requests = bridge.requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].id(), 0x50U);
    EXPECT_EQ(requests[1].id(), 0x55U);
    EXPECT_EQ(requests[1].sequence(), requests[0].sequence() + 1);
}

TEST(KoraClient, GivenSetOutputLprResponseIdOfItsOwnAcceptsIt)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x80000002, {0, 1, 0}), false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    const LprResult result = sut.setOutputLpr({{.level = 1, .output = 7, .command = LprCommand::lock, .lprId = 5}});

    EXPECT_EQ(result.status, 0U);
    EXPECT_EQ(result.results, (std::vector<std::uint32_t>{0}));
}

TEST(KoraClient, GivenWrongTagThrowsProtocolErrorThatSaysWhatCame)
{
    FakeBridge bridge([](const Message&, std::uint32_t sequence) {
        return FakeReply{bytesOf({12, sequence, 28, 0x80000050, 0x77, 1, 0}), false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);
    sut.setNextTag(0x10);

    EXPECT_EQ(textOf([&] { (void)sut.take({{}}); }),
              "unexpected response: tag 0x00000077 came, 0x00000010 was expected");
}

TEST(KoraClient, GivenWrongResponseIdThrowsProtocolErrorThatSaysWhatCame)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x80000055, {1, 0}), false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    EXPECT_EQ(textOf([&] { (void)sut.coherentTake({{}}); }),
              "unexpected response: response id 0x80000055 came, 0x80000050 was expected");
}

TEST(KoraClient, GivenSequenceThatSkipsThrowsProtocolError)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence * 2, 0x80000050, {1, 0}), false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);
    (void)sut.take({{}});

    EXPECT_EQ(textOf([&] { (void)sut.take({{}}); }), "unexpected response: sequence 2 came, 1 was expected");
}

TEST(KoraClient, GivenShorterMessageThanItsCountNeedsThrowsProtocolError)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x80000050, {2, 0}), false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    EXPECT_EQ(textOf([&] { (void)sut.take({{}, {}}); }), "unexpected response: a length of 28 came, 32 was expected");
}

TEST(KoraClient, GivenLengthAbove8192ThrowsProtocolError)
{
    FakeBridge bridge([](const Message&, std::uint32_t sequence) {
        return FakeReply{bytesOf({12, sequence, 8196, 0x80000050}), false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    EXPECT_EQ(textOf([&] { (void)sut.take({{}}); }), "a message with the impossible length 8196 came");
}

TEST(KoraClient, GivenErrorResponseThrowsItsCodeAndStaysUsable)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return sequence == 0 ? FakeReply{responseTo(request, sequence, 0x80000000, {8}), false}
                             : answerTake(request, sequence);
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    try
    {
        (void)sut.take({{}});
        ADD_FAILURE() << "nothing was thrown";
    }
    catch (const ErrorResponse& problem)
    {
        EXPECT_EQ(problem.code(), 8U);
    }
    EXPECT_EQ(sut.take({{}}).size(), 1U);
}

TEST(KoraClient, GivenCloseInTheMiddleOfAMessageThrowsPeerClosed)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        auto bytes = responseTo(request, sequence, 0x80000050, {1, 0});
        bytes.resize(17);
        return FakeReply{bytes, true};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    EXPECT_THROW((void)sut.take({{}}), PeerClosed);
}

TEST(KoraClient, GivenClosedConnectionThrowsPeerClosedInsteadOfASignal)
{
    FakeBridge bridge([](const Message&, std::uint32_t) { return FakeReply{{}, true}; });
    KoraClient sut("127.0.0.1", bridge.port(), patient);
    EXPECT_THROW((void)sut.take({{}}), PeerClosed);

    EXPECT_THROW((void)sut.take({{}}), PeerClosed);
    EXPECT_THROW((void)sut.take({{}}), PeerClosed);
}

TEST(KoraClient, GivenNoAnswerThrowsTimeoutError)
{
    FakeBridge bridge([](const Message&, std::uint32_t) { return FakeReply{}; });
    KoraClient sut("127.0.0.1", bridge.port(), brief);

    EXPECT_THROW((void)sut.take({{}}), TimeoutError);
}

TEST(KoraClient, GivenNoAnswerTakesBackWhatMayNotHaveArrived)
{
    const UnattendedListener listener;
    std::optional<KoraClient> sut(std::in_place, "127.0.0.1", listener.port, brief);
    const UniqueFd peer = listener.accept();

    EXPECT_THROW((void)sut->take({{}}), TimeoutError);
    sut.reset();

    EXPECT_TRUE(isTakenBack(peer));
}

TEST(KoraClient, GivenHalfAnAnswerThrowsTimeoutError)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        auto bytes = responseTo(request, sequence, 0x80000050, {1, 0});
        bytes.resize(27);
        return FakeReply{bytes, false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), brief);

    EXPECT_THROW((void)sut.take({{}}), TimeoutError);
}

TEST(KoraClient, GivenNobodyListeningThrowsConnectError)
{
    std::uint16_t port = 0;
    {
        const FakeBridge gone(&answerTake);
        port = gone.port();
    }

    try
    {
        const KoraClient sut("127.0.0.1", port, patient);
        ADD_FAILURE() << "nothing was thrown";
    }
    catch (const ConnectError& problem)
    {
        EXPECT_EQ(problem.what(), "cannot connect to 127.0.0.1 port " + std::to_string(port) + ": Connection refused");
        EXPECT_EQ(problem.cause(), ConnectError::Cause::refused);
    }
}

namespace
{

/// What connecting fails with while the calls cannot be made; nothing where that is not permitted.
std::optional<std::string> connectProblem(const std::vector<testsupport::FailingCall>& calls, std::uint16_t port)
{
    std::string problem;
    const bool isTried = testsupport::withFailingCalls(calls, [&] {
        try
        {
            const KoraClient sut("127.0.0.1", port, patient);
        }
        catch (const KoraError& error)
        {
            problem = error.what();
        }
    });
    return isTried ? std::optional(problem) : std::nullopt;
}

} // namespace

TEST(KoraClient, GivenConnectionThatTheSystemRefusesSaysWhy)
{
    FakeBridge bridge(&answerTake);
    const std::string where = "cannot connect to 127.0.0.1 port " + std::to_string(bridge.port()) + ": ";

    const auto noDescriptor = connectProblem({{SYS_socket, EMFILE, {{0, AF_INET}}}}, bridge.port());
    const auto noRoute = connectProblem({{SYS_connect, ENETUNREACH}}, bridge.port());

    if (!noDescriptor || !noRoute)
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    EXPECT_EQ(*noDescriptor, where + "Too many open files");
    EXPECT_EQ(*noRoute, where + "Network is unreachable");
}

TEST(KoraClient, GivenBridgeWhoseQueueIsFullThrowsConnectErrorAfterTheTime)
{
    const UnattendedListener listener;
    std::vector<std::unique_ptr<KoraClient>> waiting;
    std::string problem;

    for (int i = 0; i < 20 && problem.empty(); ++i)
    {
        try
        {
            waiting.push_back(std::make_unique<KoraClient>("127.0.0.1", listener.port, brief));
        }
        catch (const ConnectError& error)
        {
            problem = error.what();
            EXPECT_EQ(error.cause(), ConnectError::Cause::late);
        }
    }

    EXPECT_EQ(problem, "cannot connect to 127.0.0.1 port " + std::to_string(listener.port) + ": no answer in time");
}

TEST(KoraClient, GivenBridgeThatTakesNoMoreThrowsTimeoutError)
{
    std::atomic<bool> isOver{false};
    FakeBridge bridge([&isOver](const Message&, std::uint32_t) {
        testsupport::waitUntil([&] { return isOver.load(); });
        return FakeReply{{}, true};
    });
    KoraClient sut("127.0.0.1", bridge.port(), 500ms);
    const auto request = bytesOf({12, 1, 16, 0x50});
    std::vector<std::uint8_t> flood;
    for (int i = 0; i < 1000; ++i)
    {
        flood.insert(flood.end(), request.begin(), request.end());
    }

    EXPECT_THROW(
        {
            for (int i = 0; i < 10000; ++i) // 160 MB: far more than the buffers on the way take
            {
                sut.sendBytes(flood);
            }
        },
        TimeoutError);
    isOver = true;
}

TEST(KoraClient, GivenUnknownHostThrowsConnectError)
{
    try
    {
        const KoraClient sut("no host has blanks", 5194, brief);
        ADD_FAILURE() << "nothing was thrown";
    }
    catch (const ConnectError& problem)
    {
        EXPECT_EQ(problem.cause(), ConnectError::Cause::unknownHost);
    }
}

TEST(KoraClient, GivenRawBytesSendsThemAsTheyAreAndFollowsTheSequence)
{
    FakeBridge bridge(&answerTake);
    KoraClient sut("127.0.0.1", bridge.port(), patient);
    const auto two = bytesOf({12, 0xaa, 16, 0x50, 12, 0xbb, 16, 0x50});

    sut.sendBytes(std::span(two).first(21));
    const Message first = sut.receiveMessage();
    sut.sendBytes(std::span(two).subspan(21));
    const Message second = sut.receiveMessage();

    EXPECT_EQ(first.tag(), 0xaaU);
    EXPECT_EQ(second.tag(), 0xbbU);
    EXPECT_EQ(sut.take({{}}).size(), 1U);
}

TEST(KoraClient, GivenTwoResponsesInOneSegmentReturnsEachOnce)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        auto bytes = responseTo(request, sequence, 0x80000050, {0});
        const auto more = responseTo(request, sequence + 1, 0x80004000, {0});
        bytes.insert(bytes.end(), more.begin(), more.end());
        return FakeReply{bytes, false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    sut.sendBytes(bytesOf({12, 1, 16, 0x50}));

    EXPECT_EQ(sut.receiveMessage().id(), 0x80000050U);
    EXPECT_EQ(sut.receiveMessage().id(), 0x80004000U);
}

TEST(KoraClient, GivenAnyIdRequestReturnsTheMessageUnjudged)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x80000000, {8}), false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    const Message response = sut.request(0x99, {1, 2, 3});

    EXPECT_EQ(response.id(), 0x80000000U);
    EXPECT_EQ(response.word(20), 8U);
    EXPECT_EQ(bridge.requests().at(0).words(), (std::vector<std::uint32_t>{12, 1, 28, 0x99, 1, 2, 3}));
}

TEST(KoraClient, GivenAnyIdRequestAnsweredOutOfSequenceThrowsProtocolError)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence + 5, 0x80000050, {8}), false};
    });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    EXPECT_THROW((void)sut.request(0x99, {1, 2, 3}), ProtocolError);
}

TEST(KoraClient, GivenCloseWaitForCloseReturns)
{
    FakeBridge bridge([](const Message&, std::uint32_t) { return FakeReply{{1, 2, 3}, true}; });
    KoraClient sut("127.0.0.1", bridge.port(), patient);

    sut.sendBytes(bytesOf({12, 1, 16, 0x50}));
    sut.waitForClose();

    EXPECT_EQ(bridge.requests().size(), 1U) << "closed by the bridge's answer, not before";
    EXPECT_THROW((void)sut.portPresent(), KoraError);
}

TEST(KoraClient, GivenOpenConnectionWaitForCloseThrowsTimeoutError)
{
    FakeBridge bridge(&answerTake);
    KoraClient sut("127.0.0.1", bridge.port(), brief);

    EXPECT_THROW(sut.waitForClose(), TimeoutError);
}
