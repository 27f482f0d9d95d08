#include "bustypes/TopicNames.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>

using com::tallowcrest::routing::partitionName;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::topicNames;

TEST(TopicNames, TableHoldsTheElevenNamesInTheirOrder)
{
    const std::array<std::string, 11> expected = {"TopicComponentInfoKoraBridge",
                                                  "TopicRouterMemberMacroXptsDxAudio",
                                                  "TopicMacroXptOutputAudioTarget",
                                                  "TopicRouterMemberMacroXptsDxVideo",
                                                  "TopicMacroXptOutputVideoTarget",
                                                  "TopicMacroXptOutputAudioStatus",
                                                  "TopicMacroXptOutputVideoStatus",
                                                  "TopicMacroXptOutputVideoLocalTarget",
                                                  "TopicMacroXptOutputAudioLocalTarget",
                                                  "TopicMacroLevel",
                                                  "TopicRouterMember"};

    ASSERT_EQ(topicNames.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        EXPECT_EQ(topicName(static_cast<TopicName>(i)), expected[i]) << "entry " << i;
    }
}

TEST(TopicNames, EnumeratorsNameTheirEntries)
{
    EXPECT_STREQ(topicName(TopicName::MacroXptOutputVideoLocalTarget), "TopicMacroXptOutputVideoLocalTarget");
    EXPECT_STREQ(topicName(TopicName::RouterMember), "TopicRouterMember");
}

TEST(TopicNames, PartitionOfARouterIsThePrefixAndItsName)
{
    EXPECT_EQ(partitionName("R1"), "com:tallowcrest:routing:R1");
}

TEST(TopicNames, PartitionOfNoRouterIsTheBarePrefix)
{
    EXPECT_EQ(partitionName(""), "com:tallowcrest:routing:");
}

TEST(TopicNames, PartitionOfSixteenCharactersHasFortyCharacters)
{
    EXPECT_EQ(partitionName("0123456789abcdef"), "com:tallowcrest:routing:0123456789abcdef");
    EXPECT_EQ(partitionName("0123456789abcdef").size(), 40U);
}
