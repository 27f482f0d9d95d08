#include "tools/korasim/WordReader.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace korasim;
namespace routing = com::tallowcrest::dds_::routing;

namespace
{

template <typename Function>
std::string errorOf(Function&& function)
{
    try
    {
        function();
    }
    catch (const std::invalid_argument& error)
    {
        return error.what();
    }
    return "no error";
}

} // namespace

TEST(WordReaderTest, WordsAreSplitAtBlanksAndTabsAndCarriageReturn)
{
    WordReader sut("  one\ttwo  three\r");

    EXPECT_EQ(sut.word("a"), "one");
    EXPECT_EQ(sut.word("b"), "two");
    EXPECT_FALSE(sut.isAtEnd());
    EXPECT_EQ(sut.word("c"), "three");
    EXPECT_TRUE(sut.isAtEnd());
    EXPECT_EQ(errorOf([&] { sut.word("d"); }), "d is missing");
}

TEST(WordReaderTest, NumbersAreDecimalAndInRange)
{
    EXPECT_EQ(WordReader("4294967295").number("n"), 4294967295U);
    EXPECT_EQ(WordReader("65535").shortNumber("n"), 65535U);
    EXPECT_EQ(errorOf([] { WordReader("4294967296").number("n"); }),
              "n: '4294967296' is not a number from 0 to 4294967295");
    EXPECT_EQ(errorOf([] { WordReader("65536").shortNumber("n"); }), "n: '65536' is not a number from 0 to 65535");
    EXPECT_EQ(errorOf([] { WordReader("-1").number("n"); }), "n: '-1' is not a number from 0 to 4294967295");
    EXPECT_EQ(errorOf([] { WordReader("7x").number("n"); }), "n: '7x' is not a number from 0 to 4294967295");
}

TEST(WordReaderTest, SignalIsVideoOrAudio)
{
    EXPECT_EQ(WordReader("video").signal(), Signal::Video);
    EXPECT_EQ(WordReader("audio").signal(), Signal::Audio);
    EXPECT_EQ(errorOf([] { WordReader("Video").signal(); }), "'Video' is neither video nor audio");
}

TEST(WordReaderTest, StateIsANameOrANumber)
{
    EXPECT_EQ(WordReader("released").lprState(), routing::LPR_RELEASED);
    EXPECT_EQ(WordReader("protected").lprState(), routing::LPR_PROTECTED);
    EXPECT_EQ(WordReader("locked").lprState(), routing::LPR_LOCKED);
    EXPECT_EQ(static_cast<std::uint32_t>(WordReader("7").lprState()), 7U);
    EXPECT_NE(errorOf([] { WordReader("free").lprState(); }), "no error");
}

TEST(WordReaderTest, OutputNeedsInputAndTakesHolderStateAndTime)
{
    WordReader brief("3 7");
    const auto route = brief.macroXptOutput();
    EXPECT_EQ(route.macroXptOutput, 3U);
    EXPECT_EQ(route.macroXptInput, 7U);
    EXPECT_EQ(route.lprState, routing::LPR_RELEASED);

    WordReader full("3 7 9 locked 1234");
    const auto locked = full.macroXptOutput();
    EXPECT_EQ(locked.lprId, 9U);
    EXPECT_EQ(locked.lprState, routing::LPR_LOCKED);
    EXPECT_EQ(locked.when, 1234U);
    EXPECT_EQ(errorOf([] { WordReader("3").macroXptOutput(); }), "input is missing");
}

TEST(WordReaderTest, LevelReadsItsEightFieldsInOrder)
{
    WordReader sut("3,audio,1,16,2,3,32,4", ",");

    const auto level = sut.level();

    EXPECT_NO_THROW(sut.end());
    EXPECT_EQ(level.levelId, 3U);
    EXPECT_EQ(level.levelSignalType, routing::LST_Audio);
    EXPECT_EQ(level.macroXptInputStart, 1U);
    EXPECT_EQ(level.numMacroXptInputs, 16U);
    EXPECT_EQ(level.controllerInputStart, 2U);
    EXPECT_EQ(level.macroXptOutputStart, 3U);
    EXPECT_EQ(level.numMacroXptOutputs, 32U);
    EXPECT_EQ(level.controllerOutputStart, 4U);
}

TEST(WordReaderTest, EndComplainsOfWordsThatAreLeft)
{
    EXPECT_EQ(errorOf([] { WordReader("more").end(); }), "'more' is one word too many");
}
