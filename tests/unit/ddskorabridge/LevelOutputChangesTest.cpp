#include "ddskorabridge/LevelOutputChanges.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace
{

std::vector<std::uint32_t> walk(LevelOutputChanges& changes, std::uint32_t connection)
{
    std::vector<std::uint32_t> outputs;
    std::uint32_t output = 0;
    changes.beginOutputChanges(connection);
    while (changes.next(output))
    {
        outputs.push_back(output);
    }
    return outputs;
}

using Outputs = std::vector<std::uint32_t>;

TEST(LevelOutputChanges, NothingIsReportedAtFirst)
{
    LevelOutputChanges sut(1, 288);

    EXPECT_EQ(walk(sut, 0), Outputs{});
}

TEST(LevelOutputChanges, NextWithoutAWalkReportsNothing)
{
    LevelOutputChanges sut(1, 288);
    sut.noteSourceChange(1);
    std::uint32_t output = 77;

    EXPECT_FALSE(sut.next(output));
    EXPECT_EQ(output, 77U);
}

TEST(LevelOutputChanges, AChangeIsReportedOnceToEveryConnection)
{
    LevelOutputChanges sut(1, 288);

    sut.noteSourceChange(17);

    for (std::uint32_t connection = 0; connection < LevelOutputChanges::maxConnections; ++connection)
    {
        EXPECT_EQ(walk(sut, connection), Outputs{17}) << "connection " << connection;
        EXPECT_EQ(walk(sut, connection), Outputs{}) << "connection " << connection;
    }
}

TEST(LevelOutputChanges, SourceAndLprChangeOfOneOutputAreOneReport)
{
    LevelOutputChanges sut(1, 288);

    sut.noteSourceChange(5);
    sut.noteLprChange(5);

    EXPECT_EQ(walk(sut, 3), Outputs{5});
    EXPECT_EQ(walk(sut, 3), Outputs{});
}

TEST(LevelOutputChanges, OutputsAreReportedInAscendingOrder)
{
    LevelOutputChanges sut(1, 2304);
    for (const std::uint32_t output : {2304U, 1U, 9U, 10U, 1152U, 1153U})
    {
        sut.noteLprChange(output);
    }

    EXPECT_EQ(walk(sut, 15), (Outputs{1, 9, 10, 1152, 1153, 2304}));
}

TEST(LevelOutputChanges, OutputsOutsideTheLevelAreIgnored)
{
    LevelOutputChanges sut(100, 10);

    sut.noteSourceChange(99);
    sut.noteSourceChange(110);
    sut.noteLprChange(0);
    sut.noteLprChange(std::numeric_limits<std::uint32_t>::max());

    EXPECT_EQ(walk(sut, 0), Outputs{});
}

TEST(LevelOutputChanges, ABlockThatReachesTheEndOf32BitsIsTracked)
{
    const std::uint32_t last = std::numeric_limits<std::uint32_t>::max();
    LevelOutputChanges sut(last - 4, 100);

    sut.noteSourceChange(last);
    sut.noteSourceChange(last - 4);
    sut.noteSourceChange(3); // first + count wraps to 95

    EXPECT_EQ(walk(sut, 0), (Outputs{last - 4, last}));
}

TEST(LevelOutputChanges, ANewConnectionSeesEveryOutputAndNobodyElseDoes)
{
    LevelOutputChanges sut(1, 100);
    Outputs all(100);
    std::iota(all.begin(), all.end(), 1U);

    sut.markAllForConnection(7);

    EXPECT_EQ(walk(sut, 6), Outputs{});
    EXPECT_EQ(walk(sut, 8), Outputs{});
    EXPECT_EQ(walk(sut, 7), all);
    EXPECT_EQ(walk(sut, 7), Outputs{});
}

TEST(LevelOutputChanges, ConnectionsBeyondTheSixteenthFindNothing)
{
    LevelOutputChanges sut(1, 10);
    sut.noteSourceChange(1);

    sut.markAllForConnection(16);

    EXPECT_EQ(walk(sut, 16), Outputs{});
    EXPECT_EQ(walk(sut, std::numeric_limits<std::uint32_t>::max()), Outputs{});
    EXPECT_EQ(walk(sut, 0), Outputs{1});
}

TEST(LevelOutputChanges, AnInterruptedWalkLeavesTheRestForTheNext)
{
    LevelOutputChanges sut(1, 288);
    sut.markAllForConnection(0);
    sut.beginOutputChanges(0);
    std::uint32_t output = 0;
    for (int i = 0; i < 64; ++i)
    {
        ASSERT_TRUE(sut.next(output));
    }
    Outputs rest(288 - 64);
    std::iota(rest.begin(), rest.end(), 65U);

    EXPECT_EQ(output, 64U);
    EXPECT_EQ(walk(sut, 0), rest);
}

TEST(LevelOutputChanges, AnInterruptedWalkAtTheEndOfALeafLeavesTheRestForTheNext)
{
    LevelOutputChanges sut(1, 2304); // 9 outputs a leaf
    for (const std::uint32_t changed : {9U, 18U})
    {
        sut.noteSourceChange(changed);
    }
    sut.beginOutputChanges(4);
    std::uint32_t output = 0;
    ASSERT_TRUE(sut.next(output));
    ASSERT_EQ(output, 9U);

    EXPECT_EQ(walk(sut, 4), Outputs{18});
}

TEST(LevelOutputChanges, AChangeInAnEarlierLeafDuringAWalkIsNotLost)
{
    LevelOutputChanges sut(1, 2304);
    sut.noteSourceChange(1);
    sut.noteSourceChange(1000);
    Outputs found;
    std::uint32_t output = 0;
    sut.beginOutputChanges(2);
    while (sut.next(output))
    {
        found.push_back(output);
        if (output == 1000)
        {
            sut.noteSourceChange(1);
            sut.noteSourceChange(1001);
        }
    }
    const Outputs later = walk(sut, 2);
    found.insert(found.end(), later.begin(), later.end());

    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (Outputs{1, 1, 1000, 1001}));
}

TEST(LevelOutputChanges, HalfWalksConsumeTheirHalfOnly)
{
    LevelOutputChanges sut(1, 288);
    sut.noteSourceChange(3);
    sut.noteLprChange(4);
    std::uint32_t output = 0;

    sut.beginLprChanges(1);
    ASSERT_TRUE(sut.next(output));
    EXPECT_EQ(output, 4U);
    EXPECT_FALSE(sut.next(output));

    sut.beginSourceChanges(1);
    ASSERT_TRUE(sut.next(output));
    EXPECT_EQ(output, 3U);
    EXPECT_FALSE(sut.next(output));

    EXPECT_EQ(walk(sut, 1), Outputs{});
    EXPECT_EQ(walk(sut, 2), (Outputs{3, 4}));
}

TEST(LevelOutputChanges, ALevelWithoutOutputsReportsNothing)
{
    LevelOutputChanges sut(1, 0);

    sut.markAllForConnection(0);
    sut.noteSourceChange(1);

    EXPECT_EQ(walk(sut, 0), Outputs{});
}

/// The same behaviour without a tree: a set of bits per output.
class NaiveChanges
{
public:
    explicit NaiveChanges(std::uint32_t numOutputs) : m_changed(numOutputs, 0) {}

    void mark(std::uint32_t index) { m_changed[index] = 0xFFFF; }
    void markAll(std::uint32_t connection)
    {
        for (std::uint32_t& changed : m_changed)
        {
            changed |= 1U << connection;
        }
    }
    /// Reports at most `limit` outputs.
    Outputs walk(std::uint32_t first, std::uint32_t connection, std::size_t limit)
    {
        Outputs outputs;
        for (std::uint32_t index = 0; index < m_changed.size() && outputs.size() < limit; ++index)
        {
            if ((m_changed[index] & (1U << connection)) != 0)
            {
                m_changed[index] &= ~(1U << connection);
                outputs.push_back(first + index);
            }
        }
        return outputs;
    }

private:
    std::vector<std::uint32_t> m_changed;
};

class LevelOutputChangesProperty : public testing::TestWithParam<std::uint32_t>
{};

TEST_P(LevelOutputChangesProperty, RandomMarksAndWalksAgreeWithAModel)
{
    const std::uint32_t numOutputs = GetParam();
    const std::uint32_t first = 1000;
    for (std::uint32_t seed = 1; seed <= 20; ++seed)
    {
        std::mt19937 random(seed);
        const auto below = [&random](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
        LevelOutputChanges sut(first, numOutputs);
        NaiveChanges model(numOutputs);
        for (int step = 0; step < 300; ++step)
        {
            const std::uint32_t connection = below(LevelOutputChanges::maxConnections);
            switch (below(8))
            {
            case 0:
                sut.markAllForConnection(connection);
                model.markAll(connection);
                break;
            case 1:
            case 2:
            case 3: {
                const std::uint32_t index = below(numOutputs);
                below(2) == 0 ? sut.noteSourceChange(first + index) : sut.noteLprChange(first + index);
                model.mark(index);
                break;
            }
            case 4: // outside the level
                sut.noteSourceChange(first - 1 - below(first));
                sut.noteLprChange(first + numOutputs + below(1000));
                break;
            default: {
                const std::size_t limit = below(3) == 0 ? 1 + below(70) : numOutputs;
                Outputs outputs;
                std::uint32_t output = 0;
                sut.beginOutputChanges(connection);
                while (outputs.size() < limit && sut.next(output))
                {
                    outputs.push_back(output);
                }
                ASSERT_EQ(outputs, model.walk(first, connection, limit)) << "seed " << seed << " step " << step;
                break;
            }
            }
        }
        for (std::uint32_t connection = 0; connection < LevelOutputChanges::maxConnections; ++connection)
        {
            ASSERT_EQ(walk(sut, connection), model.walk(first, connection, numOutputs)) << "seed " << seed;
            ASSERT_EQ(walk(sut, connection), Outputs{}) << "seed " << seed;
        }
    }
}

TEST_P(LevelOutputChangesProperty, RandomHalfWalksLoseNothing)
{
    const std::uint32_t numOutputs = GetParam();
    std::mt19937 random(4711);
    LevelOutputChanges sut(0, numOutputs);
    std::vector<bool> source(numOutputs, false);
    std::vector<bool> lpr(numOutputs, false);
    for (int step = 0; step < 500; ++step)
    {
        const auto index = static_cast<std::uint32_t>(random() % numOutputs);
        const bool isSource = random() % 2 == 0;
        isSource ? sut.noteSourceChange(index) : sut.noteLprChange(index);
        (isSource ? source : lpr)[index] = true;
        if (random() % 10 != 0)
        {
            continue;
        }
        const bool walksSource = random() % 2 == 0;
        std::vector<bool>& expected = walksSource ? source : lpr;
        bool foundAny = true;
        while (foundAny)
        {
            foundAny = false;
            std::uint32_t output = 0;
            walksSource ? sut.beginSourceChanges(9) : sut.beginLprChanges(9);
            while (sut.next(output))
            {
                foundAny = true;
                ASSERT_TRUE(expected[output]) << "step " << step;
                expected[output] = false;
            }
        }
        ASSERT_EQ(expected, std::vector<bool>(numOutputs, false)) << "step " << step;
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, LevelOutputChangesProperty, testing::Values(1U, 2U, 31U, 33U, 100U, 288U, 2304U),
                         [](const auto& size) { return "Outputs" + std::to_string(size.param); });

} // namespace
