#include "tools/korapanel/api/PressKeys.h"

#include <gtest/gtest.h>

using namespace korapanel;
using namespace std::chrono_literals;

namespace
{

class PressKeysTest : public testing::Test
{
protected:
    /// Presses; what is answered goes to `answers`.
    std::optional<Reply> press(const std::string& who, const std::string& key, const std::string& content,
                               PressKeys::Clock::duration later = 0s)
    {
        return sut.begin(
            who, key, content,
            [this](const Answer& answer) { answers.push_back(std::to_string(answer.status) + " " + *answer.body); },
            m_start + later);
    }

    PressKeys sut;
    std::vector<std::string> answers;

private:
    const PressKeys::Clock::time_point m_start = PressKeys::Clock::now();
};

using Answers = std::vector<std::string>;

} // namespace

TEST_F(PressKeysTest, GivenThePressAgainGivesTheFirstAnswerAndDoesNothing)
{
    const auto first = press("anna", "k", "take");
    ASSERT_TRUE(first);
    (*first)(answerOf("done"));
    EXPECT_EQ(answers, (Answers{"200 done"}));

    EXPECT_FALSE(press("anna", "k", "take", PressKeys::longestTime - 1s));

    EXPECT_EQ(answers, (Answers{"200 done", "200 done"}));
}

TEST_F(PressKeysTest, GivenThePressAgainBeforeItsAnswerBothGetIt)
{
    const auto first = press("anna", "k", "take");
    ASSERT_TRUE(first);

    EXPECT_FALSE(press("anna", "k", "take"));
    EXPECT_TRUE(answers.empty());
    (*first)(answerOf("done"));

    EXPECT_EQ(answers, (Answers{"200 done", "200 done"}));
}

TEST_F(PressKeysTest, GivenAnotherPressUnderTheKeyRefusesIt)
{
    const auto first = press("anna", "k", "take 1");
    ASSERT_TRUE(first);

    EXPECT_FALSE(press("anna", "k", "take 2"));
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_TRUE(answers[0].starts_with("422 ")) << answers[0];
    (*first)(answerOf("done"));
    EXPECT_EQ(answers.at(1), "200 done");
    EXPECT_FALSE(press("anna", "k", "take 1"));
    EXPECT_EQ(answers.at(2), "200 done");
}

TEST_F(PressKeysTest, GivenAnotherTokenTheKeyIsNew)
{
    ASSERT_TRUE(press("anna", "k", "take"));

    EXPECT_TRUE(press("eva", "k", "take"));
    EXPECT_TRUE(press("anna", "l", "take"));
}

TEST_F(PressKeysTest, GivenPressThatWasRefusedTriesItAnew)
{
    const auto first = press("anna", "k", "take");
    ASSERT_TRUE(first);
    (*first)(refusal(503, "no-bridge", "gone"));

    EXPECT_TRUE(press("anna", "k", "take"));
}

TEST_F(PressKeysTest, GivenTheTimeOverTheKeyIsNew)
{
    const auto first = press("anna", "k", "take");
    ASSERT_TRUE(first);
    (*first)(answerOf("done"));

    EXPECT_TRUE(press("anna", "k", "take", PressKeys::longestTime));
}

TEST_F(PressKeysTest, GivenMoreKeysThanTheBoundForgetsTheOldestThatIsAnswered)
{
    ASSERT_TRUE(press("anna", "waiting", "take"));
    for (std::size_t i = 0; i < PressKeys::most; ++i)
    {
        const auto first = press("anna", std::to_string(i), "take");
        ASSERT_TRUE(first) << i;
        (*first)(answerOf("done"));
    }

    EXPECT_FALSE(press("anna", "waiting", "take"));
    EXPECT_FALSE(press("anna", std::to_string(PressKeys::most - 1), "take"));
    EXPECT_TRUE(press("anna", "0", "take"));
}

TEST_F(PressKeysTest, GivenMoreBytesThanTheBoundForgetsTheOldest)
{
    for (const char* const key : {"a", "b", "c"})
    {
        const auto first = press("anna", key, "take");
        ASSERT_TRUE(first);
        (*first)(answerOf(std::string(PressKeys::mostBytes / 2, '.')));
    }

    EXPECT_TRUE(press("anna", "a", "take"));
    EXPECT_FALSE(press("anna", "c", "take"));
}
