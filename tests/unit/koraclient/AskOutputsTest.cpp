#include "koraclient/AskOutputs.h"

#include "koraclient/Errors.h"
#include "tests/fakes/FakeBridge.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace koraclient;
using namespace std::chrono_literals;

namespace
{

constexpr std::uint32_t changesId = 0x53;
constexpr std::uint32_t statusId = 0x52;

KoraClient clientOf(const FakeBridge& bridge)
{
    return KoraClient("127.0.0.1", bridge.port(), 10s);
}

/// Changes of `count` outputs from `first` on, each of which shows the input of its number.
FakeReply changes(const Message& request, std::uint32_t sequence, std::uint32_t first, std::uint32_t count)
{
    constexpr std::uint32_t most = 64;
    std::vector<std::uint32_t> words{request.word(16), request.word(20), count, count == most ? 1U : 0U};
    for (std::uint32_t output = first; output < first + count; ++output)
    {
        words.insert(words.end(), {0, output, output, 1, 42});
    }
    return {responseTo(request, sequence, 0x80000053, words), false};
}

/// The status of the one output that was asked for.
FakeReply status(const Message& request, std::uint32_t sequence, const std::vector<std::uint32_t>& entry)
{
    std::vector<std::uint32_t> words{request.word(16), request.word(20), request.word(24), 1};
    words.insert(words.end(), entry.begin(), entry.end());
    return {responseTo(request, sequence, 0x80000052, words), false};
}

} // namespace

TEST(AskOutputs, GivenALevelOfSeveralAnswersTheSnapshotHoldsThemAll)
{
    const FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return sequence == 0   ? changes(request, sequence, 1, 64)
               : sequence == 1 ? changes(request, sequence, 65, 1)
                               : changes(request, sequence, 1, 0);
    });
    KoraClient client = clientOf(bridge);

    const auto snapshot = askSnapshot(client, 1);

    ASSERT_TRUE(snapshot.has_value());
    EXPECT_EQ(snapshot->size(), 65U);
    EXPECT_EQ(snapshot->at(65), (OutputRow{65, 0, 65, OutputLpr{1, 42}}));
    EXPECT_EQ(bridge.requests().size(), 3U) << "one more, for what changed behind the walk";
}

TEST(AskOutputs, GivenAnOutputThatChangesBehindTheWalkTheSnapshotHoldsItsLaterState)
{
    const FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        auto reply = changes(request, sequence, 7, sequence < 2 ? 1 : 0);
        if (sequence == 1)
        {
            reply.bytes.at(36 + 2 * 4 + 3) = 9; // its input
        }
        return reply;
    });
    KoraClient client = clientOf(bridge);

    const auto snapshot = askSnapshot(client, 1);

    ASSERT_TRUE(snapshot.has_value());
    EXPECT_EQ(snapshot->at(7).input, 9U);
}

TEST(AskOutputs, GivenARouterThatNeverRestsTheSnapshotEndsAllTheSame)
{
    const FakeBridge bridge(
        [](const Message& request, std::uint32_t sequence) { return changes(request, sequence, 7, 1); });
    KoraClient client = clientOf(bridge);

    EXPECT_TRUE(askSnapshot(client, 1).has_value());
    EXPECT_EQ(bridge.requests().size(), 8U);
}

TEST(ChangesWalk, GivenABridgeThatAlwaysSaysMoreEndsByItsBound)
{
    const FakeBridge bridge(
        [](const Message& request, std::uint32_t sequence) { return changes(request, sequence, sequence * 64, 64); });
    KoraClient client = clientOf(bridge);

    EXPECT_THROW(askSnapshot(client, 1), ProtocolError);
    EXPECT_EQ(bridge.requests().size(), ChangesWalk::mostAnswers);
}

TEST(ChangesWalk, GivenAWholeLevelOfTheLargestSizeReadsItAll)
{
    constexpr std::uint32_t outputs = 73728; // what a bridge accepts of a level
    static_assert(outputs % 64 == 0);
    const FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return sequence < outputs / 64 ? changes(request, sequence, sequence * 64, 64)
                                       : changes(request, sequence, 0, 0);
    });
    KoraClient client = clientOf(bridge);

    EXPECT_EQ(askSnapshot(client, 1)->size(), outputs);
}

TEST(AskOutputs, GivenNoChangesTellsAQuietLevelFromOneThatDoesNotExist)
{
    for (const std::uint32_t result : {5U, 4U, 0U}) // no such level; no such output; done
    {
        const FakeBridge bridge([result](const Message& request, std::uint32_t sequence) {
            return request.id() == changesId ? changes(request, sequence, 1, 0)
                                             : status(request, sequence, {result, 0});
        });
        KoraClient client = clientOf(bridge);

        EXPECT_EQ(askSnapshot(client, 9).has_value(), result != 5) << result;
    }
}

TEST(AskOutputs, GivenTheShortFormatRowsSayNothingOfLocks)
{
    const FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x80000053, {1, 1, 1, 0, 0, 7, 12}), false};
    });
    KoraClient client = clientOf(bridge);

    EXPECT_EQ(askChanges(client, 1, 1).rows, (std::vector<OutputRow>{{7, 0, 12, std::nullopt}}));
}

TEST(HolderLookup, GivenARefusalAsksWhoHoldsTheOutputAndOnlyThen)
{
    const FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return status(request, sequence, {0, 12, 1, 42});
    });
    KoraClient client = clientOf(bridge);
    HolderLookup sut(client);

    EXPECT_EQ(sut.ask(1, 7, 0), std::nullopt) << "done";
    EXPECT_EQ(sut.ask(1, 7, 4), std::nullopt) << "no such output";
    EXPECT_TRUE(bridge.requests().empty());
    EXPECT_EQ(sut.ask(1, 7, 12), 42U) << "locked";
    EXPECT_EQ(sut.ask(1, 7, 13), std::nullopt) << "protected, but a lock is what there is now";
    EXPECT_EQ(bridge.requests().size(), 2U);
    EXPECT_EQ(bridge.requests().front().id(), statusId);
}

TEST(HolderLookup, GivenABridgeThatDoesNotAnswerAsksNoMore)
{
    const FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x80000000, {8}), false};
    });
    KoraClient client = clientOf(bridge);
    HolderLookup sut(client);

    EXPECT_EQ(sut.ask(1, 7, 12), std::nullopt);
    EXPECT_EQ(sut.ask(1, 8, 12), std::nullopt);
    EXPECT_EQ(bridge.requests().size(), 1U);
}

TEST(HolderLookup, GivenABridgeThatLeavesThrowsNothing)
{
    const FakeBridge bridge([](const Message&, std::uint32_t) { return FakeReply{.bytes = {}, .isClosing = true}; });
    KoraClient client = clientOf(bridge);
    HolderLookup sut(client);

    EXPECT_EQ(sut.ask(1, 7, 12), std::nullopt);
}
