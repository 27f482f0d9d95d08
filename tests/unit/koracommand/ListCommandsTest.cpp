#include "koracommand/ListCommands.h"

#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

constexpr std::uint32_t takeRspId = 0x80000050;

/// Runs with the request id and the response class of each of the two takes.
template <typename Response>
class TakeRspTest : public LevelFixture
{
protected:
    static constexpr std::uint32_t requestId = std::is_same_v<Response, TakeRsp> ? 0x50 : 0x55;

    Words answer(const Words& payload)
    {
        const Bytes request = hostRequest(requestId, payload);
        return hostWordsOf(Response(WireReader(request), m_context));
    }
};

using Responses = ::testing::Types<TakeRsp, CoherentTakeRsp>;
TYPED_TEST_SUITE(TakeRspTest, Responses);

TYPED_TEST(TakeRspTest, WithoutEntriesHasLength24AndCountZero)
{
    EXPECT_EQ(this->answer({0}), expectedRsp(takeRspId, {0}));
    EXPECT_TRUE(this->m_level->calls.empty());
}

TYPED_TEST(TakeRspTest, PassesTheArgumentsInRequestOrderThenTheTimecode)
{
    EXPECT_EQ(this->answer({1, 1, 7, 3, 5}), expectedRsp(takeRspId, {1, 0}));
    EXPECT_EQ(this->m_level->calls, (std::vector<FakeLevel::Call>{{"take", {7, 3, 5, FakeTimecodeReader::word}}}));
}

TYPED_TEST(TakeRspTest, HandlesEntriesInOrderAndGoesOnAfterARefusal)
{
    this->m_level->results = {0, 12, 13};
    EXPECT_EQ(this->answer({3, 1, 7, 1, 11, 1, 7, 2, 12, 1, 7, 3, 13}), expectedRsp(takeRspId, {3, 0, 12, 13}));
    ASSERT_EQ(this->m_level->calls.size(), 3U);
    EXPECT_EQ(this->m_level->calls[0].arguments[2], 11U);
    EXPECT_EQ(this->m_level->calls[1].arguments[2], 12U);
    EXPECT_EQ(this->m_level->calls[2].arguments[2], 13U);
}

TYPED_TEST(TakeRspTest, UnknownLevelIsRefusedAndTheOthersStillRun)
{
    EXPECT_EQ(this->answer({2, 99, 7, 1, 11, 1, 7, 2, 12}), expectedRsp(takeRspId, {2, 5, 0}));
    EXPECT_EQ(this->m_level->calls.size(), 1U);
}

TYPED_TEST(TakeRspTest, LevelIsLookedForOncePerRunOfItsEntriesAndAnUnknownOneForEachEntry)
{
    this->m_access->levels[2] = this->m_level;
    this->answer({7, 1, 7, 1, 11, 1, 7, 2, 12, 99, 7, 1, 11, 99, 7, 1, 12, 2, 7, 1, 11, 2, 7, 1, 12, 1, 7, 1, 13});
    EXPECT_EQ(this->m_access->asked, (Words{1, 99, 99, 2, 1})) << "each search for an unknown one is a line in the log";
}

TYPED_TEST(TakeRspTest, NoLevelAccessYetRefusesEveryEntry)
{
    resetLevelAccess();
    EXPECT_EQ(this->answer({2, 1, 7, 1, 11, 1, 7, 2, 12}), expectedRsp(takeRspId, {2, 5, 5}));
}

TYPED_TEST(TakeRspTest, TimecodeIsReadOnceForTheWholeCommand)
{
    this->answer({3, 1, 7, 1, 11, 1, 7, 2, 12, 1, 7, 3, 13});
    EXPECT_EQ(this->m_timecode->reads, 1);
}

TYPED_TEST(TakeRspTest, CountIsLimitedToTheEntriesThatTheRequestHolds)
{
    EXPECT_EQ(this->answer({0xffffffff, 1, 7, 1, 11, 1, 7, 2, 12}), expectedRsp(takeRspId, {2, 0, 0}));
    EXPECT_EQ(this->m_level->calls.size(), 2U);
}

TYPED_TEST(TakeRspTest, EntryThatIsNotWhollyThereIsNotHandled)
{
    EXPECT_EQ(this->answer({2, 1, 7, 1, 11, 1, 7, 2}), expectedRsp(takeRspId, {1, 0}));
}

TYPED_TEST(TakeRspTest, EntriesBeyondTheCountAreIgnored)
{
    EXPECT_EQ(this->answer({1, 1, 7, 1, 11, 1, 7, 2, 12}), expectedRsp(takeRspId, {1, 0}));
    EXPECT_EQ(this->m_level->calls.size(), 1U);
}

TYPED_TEST(TakeRspTest, RequestWithoutAPayloadCountsAsNoEntries)
{
    EXPECT_EQ(this->answer({}), expectedRsp(takeRspId, {0}));
}

TYPED_TEST(TakeRspTest, LargestRequestIsAnsweredWhole)
{
    Words payload{510};
    for (std::uint32_t i = 0; i < 510; ++i)
    {
        payload.insert(payload.end(), {1, 7, i, i + 1000});
    }
    const Words words = this->answer(payload);
    EXPECT_EQ(words.size(), 510U + 6U);
    EXPECT_EQ(this->m_level->calls.size(), 510U);
    EXPECT_EQ(this->m_level->calls.back().arguments, (Words{7, 509, 1509, FakeTimecodeReader::word}));
}

TYPED_TEST(TakeRspTest, LevelThatThrowsMakesNoResponseAndLosesNoBuffer)
{
    const auto available = KoraMessageBuffer::pool().snapshot().available;
    this->m_level->onTake = [] { throw std::runtime_error("bus is gone"); };
    EXPECT_THROW(this->answer({1, 1, 7, 1, 11}), std::runtime_error);
    EXPECT_EQ(KoraMessageBuffer::pool().snapshot().available, available);
}

constexpr std::uint32_t lprRspId = 0x80000002;

class SetOutputLPRRspTest : public LevelFixture
{
protected:
    Words answer(const Words& payload)
    {
        const Bytes request = hostRequest(0x51, payload);
        return hostWordsOf(SetOutputLPRRsp(WireReader(request), m_context));
    }
};

TEST_F(SetOutputLPRRspTest, WithoutEntriesHasLength28AndStatusDone)
{
    EXPECT_EQ(answer({0}), expectedRsp(lprRspId, {0, 0}));
}

TEST_F(SetOutputLPRRspTest, PassesTheArgumentsInRequestOrderThenTheTimecode)
{
    answer({1, 1, 5, 2, 7});
    EXPECT_EQ(m_level->calls, (std::vector<FakeLevel::Call>{{"setOutputLPR", {5, 2, 7, FakeTimecodeReader::word}}}));
}

TEST_F(SetOutputLPRRspTest, StatusIsDoneWhenEveryEntryIs)
{
    EXPECT_EQ(answer({2, 1, 5, 1, 7, 1, 6, 1, 7}), expectedRsp(lprRspId, {0, 2, 0, 0}));
}

TEST_F(SetOutputLPRRspTest, OneRefusalSetsTheStatusAndTheOthersStillRun)
{
    m_level->results = {0, 13, 0};
    EXPECT_EQ(answer({3, 1, 5, 1, 7, 1, 6, 1, 7, 1, 8, 1, 7}), expectedRsp(lprRspId, {0x80, 3, 0, 13, 0}));
    EXPECT_EQ(m_level->calls.size(), 3U);
}

TEST_F(SetOutputLPRRspTest, RefusedFirstEntryIsNotForgottenByLaterOnes)
{
    m_level->results = {12, 0};
    EXPECT_EQ(answer({2, 1, 5, 1, 7, 1, 6, 1, 7}), expectedRsp(lprRspId, {0x80, 2, 12, 0}));
}

TEST_F(SetOutputLPRRspTest, UnknownLevelIsRefused)
{
    EXPECT_EQ(answer({1, 99, 5, 1, 7}), expectedRsp(lprRspId, {0x80, 1, 5}));
}

TEST_F(SetOutputLPRRspTest, TimecodeIsReadOnceForTheWholeCommand)
{
    answer({2, 1, 5, 1, 7, 1, 6, 1, 7});
    EXPECT_EQ(m_timecode->reads, 1);
}

TEST_F(SetOutputLPRRspTest, CountIsLimitedToTheEntriesThatTheRequestHolds)
{
    EXPECT_EQ(answer({0x80000001, 1, 5, 1, 7}), expectedRsp(lprRspId, {0, 1, 0}));
}

} // namespace
