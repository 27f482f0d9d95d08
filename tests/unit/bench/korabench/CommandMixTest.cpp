#include "bench/korabench/CommandMix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

using namespace korabench;

TEST(CommandMix, GivenOneCommandAsksForItAlone)
{
    EXPECT_EQ(parseMix("tally"), std::vector<Command>{Command::Tally});
}

TEST(CommandMix, GivenSharesKeepsThem)
{
    const auto order = parseMix("take:8,changes:2");

    EXPECT_EQ(order.size(), 10U);
    EXPECT_EQ(std::count(order.begin(), order.end(), Command::Take), 8);
    EXPECT_EQ(std::count(order.begin(), order.end(), Command::Changes), 2);
}

TEST(CommandMix, GivenSharesSpreadsTheRareCommandEvenly)
{
    const auto order = parseMix("take:8,changes:2");

    const auto first = std::find(order.begin(), order.end(), Command::Changes);
    const auto second = std::find(first + 1, order.end(), Command::Changes);
    EXPECT_EQ(second - first, 5);
}

TEST(CommandMix, GivenTheNameOfEachCommandFindsIt)
{
    for (const Command command : mixCommands())
    {
        EXPECT_EQ(parseMix(nameOf(command)), std::vector<Command>{command}) << nameOf(command);
    }
}

TEST(CommandMix, GivenNonsenseRefuses)
{
    for (const char* const text : {"", "rake", "take:0", "take:x", "take:", "take:-1", "take,,tally", "publish",
                                   "take:10001", "take:6000,tally:6000"})
    {
        EXPECT_THROW(parseMix(text), std::invalid_argument) << "'" << text << "'";
    }
}
