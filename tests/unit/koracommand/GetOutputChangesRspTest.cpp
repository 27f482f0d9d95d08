#include "koracommand/QueryCommands.h"

#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

namespace
{

constexpr std::uint32_t rspId = 0x80000053;
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
    EXPECT_EQ(answer({longFormat, 1}), expectedRsp(rspId, {longFormat, 1, 0, 0}));
    EXPECT_EQ(answer({shortFormat, 1}), expectedRsp(rspId, {shortFormat, 1, 0, 0}));
}

TEST_F(GetOutputChangesRspTest, TellsTheLevelWhichConnectionAsks)
{
    answer({longFormat, 1});
    EXPECT_EQ(m_level->calls, (std::vector<FakeLevel::Call>{{"beginOutputChanges", {3}}}));
}

TEST_F(GetOutputChangesRspTest, Format1CarriesResultOutputAndInput)
{
    m_level->changes = {{5, {0, 105, 1, 7}}, {6, {25, 106, 0, 0}}};
    EXPECT_EQ(answer({shortFormat, 1}), expectedRsp(rspId, {shortFormat, 1, 2, 0, 0, 5, 105, 25, 6, 106}));
}

TEST_F(GetOutputChangesRspTest, AnyOtherFormatCarriesLockStateAndHolderToo)
{
    for (const std::uint32_t format : {0U, 2U, 0xffffffffU})
    {
        m_level->changes = {{5, {0, 105, 1, 7}}, {6, {25, 106, 0, 0}}};
        EXPECT_EQ(answer({format, 1}), expectedRsp(rspId, {format, 1, 2, 0, 0, 5, 105, 1, 7, 25, 6, 106, 0, 0}));
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
    EXPECT_EQ(answer({longFormat, 1}), expectedRsp(rspId, {longFormat, 1, 1, 0, 0, 64, 1064, 1, 7}));
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
    EXPECT_EQ(answer({longFormat, 99}), expectedRsp(rspId, {longFormat, 99, 0, 0}));
}

TEST_F(GetOutputChangesRspTest, WordsThatAShortRequestLacksReadAsZero)
{
    m_access->levels[0] = m_level;
    changeOutputs(1);
    EXPECT_EQ(answer({}), expectedRsp(rspId, {0, 0, 1, 0, 0, 0, 1000, 1, 7}));
}

} // namespace
