#include "koracommand/QueryCommands.h"

#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

namespace
{

constexpr std::uint32_t rspId = 0x80000052;

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
    EXPECT_EQ(answer({1, 1, 5, 3}), expectedRsp(rspId, {1, 1, 5, 3, 0, 105, 25, 106, 4, 0}));
}

TEST_F(GetOutputStatusRspTest, AnyOtherFormatCarriesLockStateAndHolderToo)
{
    for (const std::uint32_t format : {0U, 2U, 0xffffffffU})
    {
        EXPECT_EQ(answer({format, 1, 5, 3}),
                  expectedRsp(rspId, {format, 1, 5, 3, 0, 105, 1, 7, 25, 106, 2, 8, 4, 0, 0, 0}));
    }
}

TEST_F(GetOutputStatusRspTest, WithoutOutputsHasLength36)
{
    EXPECT_EQ(answer({0, 1, 5, 0}), expectedRsp(rspId, {0, 1, 5, 0}));
}

TEST_F(GetOutputStatusRspTest, UnknownLevelAnswersEveryOutputWithNoSuchLevel)
{
    EXPECT_EQ(answer({0, 99, 5, 1}), expectedRsp(rspId, {0, 99, 5, 1, 5, 0, 0, 0}));
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
        EXPECT_EQ(answer({format, 1, 5, count}), expectedRsp(rspId, expected));
    }
}

TEST_F(GetOutputStatusRspTest, OutputNumbersWrapAsUnsignedOnes)
{
    answer({1, 1, 0xffffffff, 2});
    EXPECT_EQ(m_level->calls,
              (std::vector<FakeLevel::Call>{{"getOutputStatus", {0xffffffff}}, {"getOutputStatus", {0}}}));
}

} // namespace
