#include "koraclient/SendInParts.h"

#include <gtest/gtest.h>

#include <numeric>

using namespace koraclient;

namespace
{

/// What fits a message.
constexpr std::size_t most = 510;

std::vector<std::uint32_t> numbers(std::size_t count)
{
    std::vector<std::uint32_t> all(count);
    std::iota(all.begin(), all.end(), 1U);
    return all;
}

} // namespace

TEST(SendInParts, GivenMoreThanAMessageHoldsKeepsOrderAcrossMessages)
{
    std::vector<std::size_t> sizes;

    const PartsOutcome sut = sendInParts(numbers(2 * most + 1), [&](const std::vector<std::uint32_t>& part) {
        sizes.push_back(part.size());
        return part; // each entry's own number as its result
    });

    EXPECT_EQ(sizes, (std::vector<std::size_t>{most, most, 1}));
    ASSERT_EQ(sut.outcomes.size(), 2 * most + 1);
    for (std::size_t i = 0; i < sut.outcomes.size(); ++i)
    {
        EXPECT_TRUE(sut.outcomes[i].isAnswered());
        EXPECT_EQ(sut.outcomes[i].result, i + 1);
    }
    EXPECT_EQ(sut.trouble, nullptr);
}

TEST(SendInParts, GivenNothingToSendSendsNothing)
{
    const PartsOutcome sut = sendInParts(numbers(0), [](const std::vector<std::uint32_t>& part) {
        ADD_FAILURE() << "a message without entries";
        return part;
    });

    EXPECT_TRUE(sut.outcomes.empty());
    EXPECT_EQ(sut.trouble, nullptr);
}

TEST(SendInParts, GivenTroubleInTheSecondMessageSaysWhatBecameOfEachEntry)
{
    int messages = 0;

    const PartsOutcome sut = sendInParts(numbers(2 * most + 1), [&](const std::vector<std::uint32_t>& part) {
        if (++messages == 2)
        {
            throw TimeoutError("no answer");
        }
        return std::vector<std::uint32_t>(part.size(), 0);
    });

    EXPECT_EQ(messages, 2);
    EXPECT_TRUE(sut.outcomes[most - 1].isDone());
    EXPECT_STREQ(sut.outcomes[most].missingText(), "no answer; it may have been done");
    EXPECT_STREQ(sut.outcomes[2 * most - 1].missingText(), "no answer; it may have been done");
    EXPECT_STREQ(sut.outcomes[2 * most].missingText(), "not sent");
    ASSERT_NE(sut.trouble, nullptr);
    EXPECT_THROW(std::rethrow_exception(sut.trouble), TimeoutError);
}

TEST(SendInParts, GivenTroubleThatIsNotTheLinksPassesItOn)
{
    EXPECT_THROW((void)sendInParts(numbers(1),
                                   [](const std::vector<std::uint32_t>& part) -> std::vector<std::uint32_t> {
                                       throw std::length_error(std::to_string(part.size()));
                                   }),
                 std::length_error);
}
