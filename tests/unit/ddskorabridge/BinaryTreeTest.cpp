#include "ddskorabridge/BinaryTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

struct Size
{
    const char* name;
    std::uint32_t numOutputs;
    std::uint32_t numOutputsPerLeaf;
    std::uint32_t firstLeafIndex;
    std::uint32_t numNodes;
    std::uint32_t resultingOutputsPerLeaf;
};

class BinaryTreeSize : public testing::TestWithParam<Size>
{};

TEST_P(BinaryTreeSize, HasTheExpectedLeaves)
{
    const BinaryTree sut(GetParam().numOutputs, GetParam().numOutputsPerLeaf);

    EXPECT_EQ(sut.firstLeafIndex(), GetParam().firstLeafIndex);
    EXPECT_EQ(sut.numNodes(), GetParam().numNodes);
    EXPECT_EQ(sut.numOutputsPerLeaf(), GetParam().resultingOutputsPerLeaf);
    for (std::uint32_t index = 0; index < sut.numNodes(); ++index)
    {
        ASSERT_EQ(sut.node(index), 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, BinaryTreeSize,
    testing::Values(Size{"None", 0, 0, 1, 2, 0}, Size{"One", 1, 0, 1, 2, 1}, Size{"Two", 2, 0, 2, 4, 1},
                    Size{"Three", 3, 0, 4, 8, 1}, Size{"ThirtyOne", 31, 0, 32, 64, 1},
                    Size{"ThirtyTwo", 32, 0, 32, 64, 1}, Size{"SixtyThree", 63, 0, 64, 128, 1},
                    Size{"SixtyFour", 64, 0, 32, 64, 2}, Size{"Hundred", 100, 0, 64, 128, 2},
                    Size{"Video", 288, 0, 32, 64, 9}, Size{"Audio", 2304, 0, 256, 512, 9},
                    Size{"BesideAudio", 2305, 0, 64, 128, 37}, Size{"Largest", 73728, 0, 512, 1024, 144},
                    Size{"GivenLeafSize", 100, 10, 16, 32, 7}, Size{"GivenLeafHoldsAll", 100, 100, 1, 2, 100},
                    Size{"AllOf32Bits", std::numeric_limits<std::uint32_t>::max(), 0, 64, 128, 67108864}),
    [](const auto& size) { return std::string(size.param.name); });

TEST(BinaryTree, MoreLeavesThanNodesCanBeNumberedAreRefused)
{
    EXPECT_THROW(BinaryTree(std::numeric_limits<std::uint32_t>::max(), 1), std::length_error);
}

TEST(BinaryTree, SetMarksTheLeafAndItsAncestorsOnly)
{
    BinaryTree sut(8, 1);

    sut.set(5, 0x10001);

    const std::vector<std::uint32_t> marked = {1, 3, 6, 13};
    for (std::uint32_t index = 0; index < sut.numNodes(); ++index)
    {
        const bool isMarked = std::find(marked.begin(), marked.end(), index) != marked.end();
        EXPECT_EQ(sut.node(index), isMarked ? 0x10001U : 0U) << "node " << index;
    }
}

TEST(BinaryTree, SetAllMarksEveryNodeUpToTheLastLeafInUse)
{
    BinaryTree sut(5, 1);

    sut.setAll(2);

    EXPECT_EQ(sut.node(0), 0U);
    for (std::uint32_t index = 1; index <= 12; ++index)
    {
        EXPECT_EQ(sut.node(index), 2U) << "node " << index;
    }
    for (std::uint32_t index = 13; index < 16; ++index)
    {
        EXPECT_EQ(sut.node(index), 0U) << "node " << index;
    }
}

TEST(BinaryTree, SetAllOnAnEmptyTreeMarksNothing)
{
    BinaryTree sut(0, 0);

    sut.setAll(1);

    EXPECT_EQ(sut.node(1), 0U);
    EXPECT_EQ(sut.begin(1).count, 0U);
}

TEST(BinaryTree, ClearStopsBelowAnAncestorWhoseOtherChildHoldsAnyBit)
{
    BinaryTree sut(4, 1);
    sut.set(0, 0x10001);
    sut.set(1, 0x10000);

    sut.clear(0, 0x10001);

    EXPECT_EQ(sut.node(4), 0U);
    EXPECT_EQ(sut.node(5), 0x10000U);
    EXPECT_EQ(sut.node(2), 0x10001U) << "cleared upward lazily";
    EXPECT_EQ(sut.node(1), 0x10001U);

    sut.clear(1, 0x10001);

    EXPECT_EQ(sut.node(2), 0U);
    EXPECT_EQ(sut.node(1), 0U);
}

TEST(BinaryTree, ClearKeepsTheBitsOfOtherConnections)
{
    BinaryTree sut(4, 1);
    sut.set(3, 0xFFFFFFFF);

    sut.clear(3, 0x10001);

    EXPECT_EQ(sut.node(7), 0xFFFEFFFEU);
    EXPECT_EQ(sut.node(1), 0xFFFEFFFEU);
}

TEST(BinaryTree, ClearBeyondTheLastOutputIsReportedAndChangesNothing)
{
    BinaryTree sut(4, 1);
    sut.setAll(1);
    testing::internal::CaptureStdout();

    sut.clear(4, 1);

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "BinaryTree::isValidOutput Output 4 is out of range [0...4)\n");
    EXPECT_EQ(sut.node(1), 1U);
    EXPECT_EQ(sut.node(7), 1U);
}

TEST(BinaryTree, AnOutputFarBeyondIsReportedAsASignedNumber)
{
    const BinaryTree sut(4, 1);
    testing::internal::CaptureStdout();

    const bool isValid = sut.isValidOutput(std::numeric_limits<std::uint32_t>::max());

    EXPECT_FALSE(isValid);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "BinaryTree::isValidOutput Output -1 is out of range [0...4)\n");
}

TEST(BinaryTree, AWalkVisitsTheMarkedLeavesInOrder)
{
    BinaryTree sut(100, 0);
    for (const std::uint32_t output : {3U, 50U, 99U})
    {
        sut.set(output, 4);
    }
    std::vector<std::uint32_t> firsts;

    for (BinaryTree::Range range = sut.begin(4); range.count != 0; range = sut.next())
    {
        EXPECT_EQ(range.count, 2U);
        firsts.push_back(range.first);
        sut.clear(range.first, 4);
    }

    EXPECT_EQ(firsts, (std::vector<std::uint32_t>{2, 50, 98}));
}

TEST(BinaryTree, TheLastLeafIsCutAtTheLastOutput)
{
    BinaryTree sut(10, 4); // 3 leaves wanted, 4 made, 3 outputs each
    sut.set(9, 1);

    const BinaryTree::Range range = sut.begin(1);

    EXPECT_EQ(range.first, 9U);
    EXPECT_EQ(range.count, 1U);
}

TEST(BinaryTree, ALeafThatIsNotClearedIsGivenAgain)
{
    BinaryTree sut(8, 1);
    sut.set(2, 1);
    sut.set(6, 1);
    sut.begin(1);

    const BinaryTree::Range range = sut.next();

    EXPECT_EQ(range.first, 2U);
}

TEST(BinaryTree, AWalkForAnotherMaskFindsNothing)
{
    BinaryTree sut(8, 1);
    sut.set(2, 1);

    EXPECT_EQ(sut.begin(2).count, 0U);
    EXPECT_EQ(sut.next().count, 0U);
}

TEST(BinaryTree, ShowPrintsTheNumbersOfTreeAndWalk)
{
    BinaryTree sut(100, 0);
    sut.set(5, 0x80000000);
    sut.begin(0x80000000);
    testing::internal::CaptureStdout();

    sut.show();

    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "BinaryTree: m_numOutputs   100, m_currentNodeIndex 66, m_connectionMask 0x80000000 "
              "m_numOutputsPerLeaf    2, m_firstLeafIndex 64, m_numNodes   128\n");
}

TEST(BinaryTree, DumpPrintsEveryNode)
{
    BinaryTree sut(2, 0);
    sut.set(1, 0x10001);
    testing::internal::CaptureStdout();

    sut.dump();

    EXPECT_EQ(testing::internal::GetCapturedStdout(), " BinaryTree\nnode     mask\n---- --------\n"
                                                      "   0 0x00000000\n"
                                                      "   1 0x00010001\n"
                                                      "   2 0x00000000\n"
                                                      "   3 0x00010001\n");
}

} // namespace
