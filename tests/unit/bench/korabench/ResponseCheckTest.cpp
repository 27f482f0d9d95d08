#include "bench/korabench/ResponseCheck.h"

#include "koraclient/RequestEncoder.h"
#include "koracommand/WireWords.h"
#include "tests/e2e/allocations/ThreadAllocations.h"

#include <gtest/gtest.h>

using namespace korabench;

namespace
{

constexpr std::uint32_t tag = 0x01000007;
constexpr std::uint32_t sequence = 5;
using Words = std::vector<std::uint32_t>;

/// The words of a response: header, tag and payload, with the length that belongs to them.
Words response(std::uint32_t id, const Words& payload)
{
    Words words{12, sequence, 0, id, tag};
    words.insert(words.end(), payload.begin(), payload.end());
    words[2] = static_cast<std::uint32_t>(words.size() * 4);
    return words;
}

std::vector<std::uint8_t> bytesOf(const Words& words)
{
    std::vector<std::uint8_t> bytes(words.size() * 4);
    for (std::size_t i = 0; i < words.size(); ++i)
    {
        WireWriter(bytes).setBigEndianWordAt(i * 4, words[i]);
    }
    return bytes;
}

Request request(Command command)
{
    RequestShape shape;
    shape.entries = 2;
    shape.count = 3;
    shape.isIdentity = true;
    return buildRequests({command}, shape).front();
}

struct RightResponse
{
    Command command;
    Words words;
};

std::vector<RightResponse> rightResponses()
{
    return {
        {Command::Take, response(0x80000050, {2, 0, 0})},
        {Command::CoherentTake, response(0x80000050, {2, 0, 0})},
        {Command::Protect, response(0x80000002, {0, 2, 0, 0})},
        {Command::Release, response(0x80000002, {0, 2, 0, 0})},
        {Command::Tally, response(0x8000005e, {1, 1, 3, 0, 1, 0, 2, 0, 3})},
        {Command::Status, response(0x80000052, {0, 1, 1, 3, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0})},
        {Command::Changes, response(0x80000053, {0, 1, 2, 0, 0, 7, 7, 0, 0, 0, 9, 9, 0, 0})},
        {Command::Partition, response(0x80000059, {2, 1, 9, 1, 288, 1, 1, 288, 1, 2, 7, 1, 2304, 1, 1, 2304, 1})},
        {Command::Port, response(0x80004000, {0})},
        {Command::System, response(0x80005000, {0, 103, 177, 1, 0, 0, 0, 1, 0, 1, 0, 0})},
        {Command::Card, response(0x800000a2, {3, 0, 1, 0, 0})},
        {Command::Unknown, response(0x80000000, {8})},
    };
}

std::optional<std::string> faultOf(Command command, const Words& words)
{
    return findFault(request(command), tag, sequence, bytesOf(words));
}

} // namespace

TEST(ResponseCheck, GivenTheRightResponseToEachCommandFindsNothing)
{
    ASSERT_EQ(rightResponses().size(), mixCommands().size());
    for (const auto& right : rightResponses())
    {
        EXPECT_EQ(faultOf(right.command, right.words), std::nullopt) << nameOf(right.command);
    }
}

TEST(ResponseCheck, GivenAnyWordThatMustBeAsItIsChangedFindsIt)
{
    for (const auto& right : rightResponses())
    {
        // The lock state and holder of an output may be anything.
        const std::size_t freeWords = right.command == Command::Status || right.command == Command::Changes ? 2 : 0;
        const std::size_t entriesAt = 9;
        const std::size_t entryWords = right.command == Command::Status ? 4 : 5;
        for (std::size_t i = 0; i < right.words.size(); ++i)
        {
            if (freeWords != 0 && i >= entriesAt && (i - entriesAt) % entryWords >= entryWords - freeWords)
            {
                continue;
            }
            if (right.command == Command::System && i > 5) // the time is among them
            {
                continue;
            }
            Words wrong = right.words;
            wrong[i] ^= 0x40000000U;
            EXPECT_NE(faultOf(right.command, wrong), std::nullopt) << nameOf(right.command) << ", word " << i;
        }
    }
}

TEST(ResponseCheck, GivenAWordMissingOrTooManyFindsIt)
{
    for (const auto& right : rightResponses())
    {
        Words shorter(right.words.begin(), right.words.end() - 1);
        shorter[2] = static_cast<std::uint32_t>(shorter.size() * 4);
        EXPECT_NE(faultOf(right.command, shorter), std::nullopt) << nameOf(right.command);
        Words longer = right.words;
        longer.push_back(0);
        longer[2] = static_cast<std::uint32_t>(longer.size() * 4);
        EXPECT_NE(faultOf(right.command, longer), std::nullopt) << nameOf(right.command);
    }
}

TEST(ResponseCheck, GivenWhatLoadTestsSendOverAndOverAsksTheHeapForNothing)
{
    const auto asked = [] { return threadAllocations::of(""); }; // which asks for some itself, always as much
    for (const auto& right : rightResponses())
    {
        if (right.command >= Command::Partition)
        {
            continue; // these are rare
        }
        Request sent = request(right.command);
        const auto received = bytesOf(right.words);
        const std::size_t begin = asked();
        const std::size_t before = asked();
        for (int i = 0; i < 100; ++i)
        {
            koraclient::RequestEncoder::setTag(sent.bytes, tag);
            (void)findFault(sent, tag, sequence, received);
        }
        const std::size_t after = asked();

        ASSERT_GT(before, begin) << "nothing is counted";
        EXPECT_EQ(after - before, before - begin) << nameOf(right.command);
    }
}

TEST(ResponseCheck, GivenARefusedTakeSaysWhatCame)
{
    const auto fault = faultOf(Command::Take, response(0x80000050, {2, 0, 12}));

    EXPECT_EQ(fault, "result 0x0000000c came, 0x00000000 was expected");
}

TEST(ResponseCheck, GivenAnErrorResponseSaysItsCode)
{
    const auto fault = faultOf(Command::Take, response(0x80000000, {8}));

    EXPECT_EQ(fault, "error code 8");
}

TEST(ResponseCheck, GivenAnotherInputFindsItOnlyWhereRoutesAreKnown)
{
    Request known = request(Command::Tally);
    Request unknown = known;
    unknown.shape.isIdentity = false;
    const auto bytes = bytesOf(response(0x8000005e, {1, 1, 3, 0, 1, 0, 9, 0, 3}));

    EXPECT_NE(findFault(known, tag, sequence, bytes), std::nullopt);
    EXPECT_EQ(findFault(unknown, tag, sequence, bytes), std::nullopt);
}

TEST(ResponseCheck, GivenChangesOutOfOrderOrTwiceFindsIt)
{
    EXPECT_NE(faultOf(Command::Changes, response(0x80000053, {0, 1, 2, 0, 0, 9, 9, 0, 0, 0, 7, 7, 0, 0})),
              std::nullopt);
    EXPECT_NE(faultOf(Command::Changes, response(0x80000053, {0, 1, 2, 0, 0, 7, 7, 0, 0, 0, 7, 7, 0, 0})),
              std::nullopt);
}

TEST(ResponseCheck, GivenAChangeOutsideTheLevelFindsIt)
{
    EXPECT_NE(faultOf(Command::Changes, response(0x80000053, {0, 1, 1, 0, 0, 289, 289, 0, 0})), std::nullopt);
    EXPECT_NE(faultOf(Command::Changes, response(0x80000053, {0, 1, 1, 0, 0, 0, 0, 0, 0})), std::nullopt);
}

TEST(ResponseCheck, GivenMoreWithoutAFullResponseFindsIt)
{
    EXPECT_NE(faultOf(Command::Changes, response(0x80000053, {0, 1, 1, 1, 0, 7, 7, 0, 0})), std::nullopt);
}

TEST(ResponseCheck, GivenAFullResponseExpectsMoreAndCountsIt)
{
    Words payload{0, 1, 64, 1};
    for (std::uint32_t output = 1; output <= 64; ++output)
    {
        payload.insert(payload.end(), {0, output, output, 0, 0});
    }

    const auto full = bytesOf(response(0x80000053, payload));

    EXPECT_EQ(findFault(request(Command::Changes), tag, sequence, full), std::nullopt);
    EXPECT_EQ(countChanges(full).entries, 64U);
    EXPECT_TRUE(countChanges(full).isMore);
}

TEST(ResponseCheck, GivenAHeaderAloneFindsWhatIsMissing)
{
    EXPECT_NE(faultOf(Command::Take, {12, sequence, 16, 0x80000050}), std::nullopt);
}
