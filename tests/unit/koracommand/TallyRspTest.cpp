#include "koracommand/QueryCommands.h"

#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

namespace
{

constexpr std::uint32_t rspId = 0x8000005e;

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
    EXPECT_EQ(answer({1, 5, 3}), expectedRsp(rspId, {1, 5, 3, 0, 105, 25, 106, 4, 0}));
}

TEST_F(TallyRspTest, WithoutOutputsHasLength32)
{
    EXPECT_EQ(answer({1, 5, 0}), expectedRsp(rspId, {1, 5, 0}));
}

TEST_F(TallyRspTest, UnknownLevelAnswersEveryOutputWithNoSuchLevel)
{
    EXPECT_EQ(answer({99, 5, 2}), expectedRsp(rspId, {99, 5, 2, 5, 0, 5, 0}));
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
    EXPECT_EQ(answer({1, 0xffffffff, 2}), expectedRsp(rspId, {1, 0xffffffff, 2, 0, 1, 0, 2}));
}

TEST_F(TallyRspTest, WordsThatAShortRequestLacksReadAsZero)
{
    EXPECT_EQ(answer({1}), expectedRsp(rspId, {1, 0, 0}));
    EXPECT_EQ(answer({}), expectedRsp(rspId, {0, 0, 0}));
}

} // namespace
