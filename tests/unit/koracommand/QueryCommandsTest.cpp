#include "koracommand/QueryCommands.h"

#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

namespace
{

constexpr std::uint32_t tallyRspId = 0x8000005e;

class TallyRspTest : public LevelFixture
{
protected:
    Words answer(const Words& payload)
    {
        const Bytes request = hostRequest(0x5e, payload);
        return hostWordsOf(TallyRsp(WireReader(request), m_context));
    }
};

TEST_F(TallyRspTest, CarriesResultAndInputOfEachOutput)
{
    m_level->outputs = {{5, {0, 105, 1, 7}}, {6, {25, 106, 0, 0}}};
    EXPECT_EQ(answer({1, 5, 3}), expectedRsp(tallyRspId, {1, 5, 3, 0, 105, 25, 106, 4, 0}));
}

TEST_F(TallyRspTest, WithoutOutputsHasLength32)
{
    EXPECT_EQ(answer({1, 5, 0}), expectedRsp(tallyRspId, {1, 5, 0}));
}

TEST_F(TallyRspTest, UnknownLevelAnswersEveryOutputWithNoSuchLevel)
{
    EXPECT_EQ(answer({99, 5, 2}), expectedRsp(tallyRspId, {99, 5, 2, 5, 0, 5, 0}));
}

TEST_F(TallyRspTest, CountIsLimitedToWhatTheResponseCarries)
{
    const Words words = answer({1, 5, 0xffffffff});
    EXPECT_EQ(words[2], 8192U);
    EXPECT_EQ(words.size(), 2048U);
    EXPECT_EQ(words[7], 1020U);
    EXPECT_EQ(m_level->calls.size(), 1020U);
}

TEST_F(TallyRspTest, OutputNumbersWrapAsUnsignedOnes)
{
    m_level->outputs = {{0xffffffff, {0, 1, 0, 0}}, {0, {0, 2, 0, 0}}};
    EXPECT_EQ(answer({1, 0xffffffff, 2}), expectedRsp(tallyRspId, {1, 0xffffffff, 2, 0, 1, 0, 2}));
}

TEST_F(TallyRspTest, WordsThatAShortRequestLacksReadAsZero)
{
    EXPECT_EQ(answer({1}), expectedRsp(tallyRspId, {1, 0, 0}));
    EXPECT_EQ(answer({}), expectedRsp(tallyRspId, {0, 0, 0}));
}

constexpr std::uint32_t statusRspId = 0x80000052;

class GetOutputStatusRspTest : public LevelFixture
{
protected:
    GetOutputStatusRspTest() { m_level->outputs = {{5, {0, 105, 1, 7}}, {6, {25, 106, 2, 8}}}; }

    Words answer(const Words& payload)
    {
        const Bytes request = hostRequest(0x52, payload);
        return hostWordsOf(GetOutputStatusRsp(WireReader(request), m_context));
    }
};

TEST_F(GetOutputStatusRspTest, Format1CarriesResultAndInput)
{
    EXPECT_EQ(answer({1, 1, 5, 3}), expectedRsp(statusRspId, {1, 1, 5, 3, 0, 105, 25, 106, 4, 0}));
}

TEST_F(GetOutputStatusRspTest, AnyOtherFormatCarriesLockStateAndHolderToo)
{
    for (const std::uint32_t format : {0U, 2U, 0xffffffffU})
    {
        EXPECT_EQ(answer({format, 1, 5, 3}),
                  expectedRsp(statusRspId, {format, 1, 5, 3, 0, 105, 1, 7, 25, 106, 2, 8, 4, 0, 0, 0}));
    }
}

TEST_F(GetOutputStatusRspTest, WithoutOutputsHasLength36)
{
    EXPECT_EQ(answer({0, 1, 5, 0}), expectedRsp(statusRspId, {0, 1, 5, 0}));
}

TEST_F(GetOutputStatusRspTest, UnknownLevelAnswersEveryOutputWithNoSuchLevel)
{
    EXPECT_EQ(answer({0, 99, 5, 1}), expectedRsp(statusRspId, {0, 99, 5, 1, 5, 0, 0, 0}));
}

TEST_F(GetOutputStatusRspTest, Format1IsLimitedTo1019Outputs)
{
    const Words words = answer({1, 1, 5, 1020});
    EXPECT_EQ(words[8], 1019U);
    EXPECT_EQ(words[2], 36U + 8U * 1019U);
    EXPECT_EQ(words.size(), words[2] / 4);
}

TEST_F(GetOutputStatusRspTest, AnyOtherFormatIsLimitedTo509Outputs)
{
    const Words words = answer({0, 1, 5, 0xffffffff});
    EXPECT_EQ(words[8], 509U);
    EXPECT_EQ(words[2], 36U + 16U * 509U);
    EXPECT_EQ(words.size(), words[2] / 4);
}

TEST_F(GetOutputStatusRspTest, EveryEntryOfALongRangeIsInItsPlace)
{
    for (const std::uint32_t format : {1U, 2U})
    {
        constexpr std::uint32_t count = 200;
        Words expected{format, 1, 5, count};
        m_level->outputs.clear();
        for (std::uint32_t i = 0; i < count; ++i)
        {
            m_level->outputs[5 + i] = {i % 3, 1000 + i, 2000 + i, 3000 + i};
            expected.insert(expected.end(), {i % 3, 1000 + i});
            if (format != 1)
            {
                expected.insert(expected.end(), {2000 + i, 3000 + i});
            }
        }
        EXPECT_EQ(answer({format, 1, 5, count}), expectedRsp(statusRspId, expected));
    }
}

TEST_F(GetOutputStatusRspTest, OutputNumbersWrapAsUnsignedOnes)
{
    answer({1, 1, 0xffffffff, 2});
    EXPECT_EQ(m_level->calls,
              (std::vector<FakeLevel::Call>{{"getOutputStatus", {0xffffffff}}, {"getOutputStatus", {0}}}));
}

constexpr std::uint32_t changesRspId = 0x80000053;
constexpr std::uint32_t shortFormat = 1;
constexpr std::uint32_t longFormat = 0;

class GetOutputChangesRspTest : public LevelFixture
{
protected:
    Words answer(const Words& payload)
    {
        const Bytes request = hostRequest(0x53, payload);
        return hostWordsOf(GetOutputChangesRsp(WireReader(request), 3));
    }

    void changeOutputs(std::uint32_t count)
    {
        for (std::uint32_t output = 0; output < count; ++output)
        {
            m_level->changes.push_back({output, {0, output + 1000, 1, 7}});
        }
    }

    static std::uint32_t count(const Words& words) { return words[7]; }
    static std::uint32_t more(const Words& words) { return words[8]; }
};

TEST_F(GetOutputChangesRspTest, WithoutChangesHasLength36AndNoMore)
{
    EXPECT_EQ(answer({longFormat, 1}), expectedRsp(changesRspId, {longFormat, 1, 0, 0}));
    EXPECT_EQ(answer({shortFormat, 1}), expectedRsp(changesRspId, {shortFormat, 1, 0, 0}));
}

TEST_F(GetOutputChangesRspTest, TellsTheLevelWhichConnectionAsks)
{
    answer({longFormat, 1});
    EXPECT_EQ(m_level->calls, (std::vector<FakeLevel::Call>{{"beginOutputChanges", {3}}}));
}

TEST_F(GetOutputChangesRspTest, Format1CarriesResultOutputAndInput)
{
    m_level->changes = {{5, {0, 105, 1, 7}}, {6, {25, 106, 0, 0}}};
    EXPECT_EQ(answer({shortFormat, 1}), expectedRsp(changesRspId, {shortFormat, 1, 2, 0, 0, 5, 105, 25, 6, 106}));
}

TEST_F(GetOutputChangesRspTest, AnyOtherFormatCarriesLockStateAndHolderToo)
{
    for (const std::uint32_t format : {0U, 2U, 0xffffffffU})
    {
        m_level->changes = {{5, {0, 105, 1, 7}}, {6, {25, 106, 0, 0}}};
        EXPECT_EQ(answer({format, 1}), expectedRsp(changesRspId, {format, 1, 2, 0, 0, 5, 105, 1, 7, 25, 6, 106, 0, 0}));
    }
}

TEST_F(GetOutputChangesRspTest, OneBelowTheLongLimitSaysNoMore)
{
    changeOutputs(63);
    const Words words = answer({longFormat, 1});
    EXPECT_EQ(count(words), 63U);
    EXPECT_EQ(more(words), 0U);
}

TEST_F(GetOutputChangesRspTest, LongLimitSaysMoreEvenWhenNothingRemains)
{
    changeOutputs(64);
    const Words words = answer({longFormat, 1});
    EXPECT_EQ(count(words), 64U);
    EXPECT_EQ(more(words), 1U);
    EXPECT_EQ(words[2], 36U + 20U * 64U);
    EXPECT_EQ(words.size(), words[2] / 4);
    EXPECT_EQ(m_level->changeQueries, 64) << "a change asked for beyond the limit would be lost";
}

TEST_F(GetOutputChangesRspTest, NextRequestContinuesBehindTheLongLimit)
{
    changeOutputs(65);
    EXPECT_EQ(more(answer({longFormat, 1})), 1U);
    EXPECT_EQ(answer({longFormat, 1}), expectedRsp(changesRspId, {longFormat, 1, 1, 0, 0, 64, 1064, 1, 7}));
}

TEST_F(GetOutputChangesRspTest, ShortLimitIs679EntriesIn8184Bytes)
{
    changeOutputs(680);
    const Words words = answer({shortFormat, 1});
    EXPECT_EQ(count(words), 679U);
    EXPECT_EQ(more(words), 1U);
    EXPECT_EQ(words[2], 8184U);
    EXPECT_EQ(words.size(), words[2] / 4);
    EXPECT_EQ(words.back(), 1678U);
    EXPECT_EQ(m_level->changes.size(), 1U);
}

TEST_F(GetOutputChangesRspTest, UnknownLevelHasNoChanges)
{
    EXPECT_EQ(answer({longFormat, 99}), expectedRsp(changesRspId, {longFormat, 99, 0, 0}));
}

TEST_F(GetOutputChangesRspTest, WordsThatAShortRequestLacksReadAsZero)
{
    m_access->levels[0] = m_level;
    changeOutputs(1);
    EXPECT_EQ(answer({}), expectedRsp(changesRspId, {0, 0, 1, 0, 0, 0, 1000, 1, 7}));
}

} // namespace
