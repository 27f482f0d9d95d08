#include "koracommand/ListCommands.h"

#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

namespace
{

constexpr std::uint32_t rspId = 0x80000002;

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
    EXPECT_EQ(answer({0}), expectedRsp(rspId, {0, 0}));
}

TEST_F(SetOutputLPRRspTest, PassesTheArgumentsInRequestOrderThenTheTimecode)
{
    answer({1, 1, 5, 2, 7});
    EXPECT_EQ(m_level->calls, (std::vector<FakeLevel::Call>{{"setOutputLPR", {5, 2, 7, FakeTimecodeReader::word}}}));
}

TEST_F(SetOutputLPRRspTest, StatusIsDoneWhenEveryEntryIs)
{
    EXPECT_EQ(answer({2, 1, 5, 1, 7, 1, 6, 1, 7}), expectedRsp(rspId, {0, 2, 0, 0}));
}

TEST_F(SetOutputLPRRspTest, OneRefusalSetsTheStatusAndTheOthersStillRun)
{
    m_level->results = {0, 13, 0};
    EXPECT_EQ(answer({3, 1, 5, 1, 7, 1, 6, 1, 7, 1, 8, 1, 7}), expectedRsp(rspId, {0x80, 3, 0, 13, 0}));
    EXPECT_EQ(m_level->calls.size(), 3U);
}

TEST_F(SetOutputLPRRspTest, RefusedFirstEntryIsNotForgottenByLaterOnes)
{
    m_level->results = {12, 0};
    EXPECT_EQ(answer({2, 1, 5, 1, 7, 1, 6, 1, 7}), expectedRsp(rspId, {0x80, 2, 12, 0}));
}

TEST_F(SetOutputLPRRspTest, UnknownLevelIsRefused)
{
    EXPECT_EQ(answer({1, 99, 5, 1, 7}), expectedRsp(rspId, {0x80, 1, 5}));
}

TEST_F(SetOutputLPRRspTest, TimecodeIsReadOnceForTheWholeCommand)
{
    answer({2, 1, 5, 1, 7, 1, 6, 1, 7});
    EXPECT_EQ(m_timecode->reads, 1);
}

TEST_F(SetOutputLPRRspTest, CountIsLimitedToTheEntriesThatTheRequestHolds)
{
    EXPECT_EQ(answer({0x80000001, 1, 5, 1, 7}), expectedRsp(rspId, {0, 1, 0}));
}

} // namespace
