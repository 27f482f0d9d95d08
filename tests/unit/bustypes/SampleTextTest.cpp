#include "bustypes/SampleText.h"

#include <gtest/gtest.h>

using namespace com::tallowcrest::dds_::routing;

namespace
{

MacroXptOutput lockedOutput()
{
    MacroXptOutput output;
    output.macroXptOutput = 7;
    output.macroXptInput = 4294967295U;
    output.when = 33554432;
    output.lprId = 42;
    output.lprState = LPR_LOCKED;
    return output;
}

ComponentInfo component(const std::string& name)
{
    ComponentInfo info;
    info.frameId = 17;
    info.componentId = 3;
    info.name = name;
    info.description = "beside the router";
    return info;
}

constexpr const char* lockedText =
    R"({"macroXptOutput":7,"macroXptInput":4294967295,"when":33554432,"lprId":42,"lprState":2})";

} // namespace

TEST(SampleTextTest, MembersComeInTheirOrderAndEnumeratorsAsNumbers)
{
    EXPECT_EQ(jsonText(lockedOutput()), lockedText);
}

TEST(SampleTextTest, TakesNoMoreMemoryThanItIsLong)
{
    const std::string text = jsonText(lockedOutput());

    EXPECT_EQ(text.capacity(), text.size());
}

TEST(SampleTextTest, NumberInPlaceOfATextIsRefused)
{
    ComponentInfo info = component("kept");

    EXPECT_FALSE(parseJson(R"({"frameId":17,"componentId":3,"name":4,"description":""})", info));

    EXPECT_EQ(info.name, "kept");
}

TEST(SampleTextTest, WhatWasWrittenIsReadBack)
{
    MacroXptOutput read;
    ASSERT_TRUE(parseJson(lockedText, read));
    EXPECT_EQ(jsonText(read), lockedText);

    for (const char* const name :
         {"", "plain", "quote \" and \\ and /", "tab\tand\nline", "\xc3\xa4\xe2\x82\xac", "\x01"})
    {
        ComponentInfo info;
        ASSERT_TRUE(parseJson(jsonText(component(name)), info)) << name;
        EXPECT_EQ(info.name, name);
        EXPECT_EQ(info.description, "beside the router");
    }
}

TEST(SampleTextTest, LineEndsNeverStandInTheText)
{
    EXPECT_EQ(jsonText(component("a\nb\tc")).find_first_of("\n\t"), std::string::npos);
}

TEST(SampleTextTest, BytesThatAreNoTextAreReplacedAndStayReadable)
{
    ComponentInfo info;

    ASSERT_TRUE(parseJson(jsonText(component("a\xff\xfe")), info));

    EXPECT_EQ(info.name.substr(0, 1), "a");
    EXPECT_EQ(info.name.find('\xff'), std::string::npos);
}

TEST(SampleTextTest, MembersThatAreUnknownAreNotRead)
{
    MacroXptOutput read;

    EXPECT_TRUE(
        parseJson(R"({"later":"x","macroXptOutput":7,"macroXptInput":1,"when":0,"lprId":0,"lprState":0})", read));
    EXPECT_EQ(read.macroXptInput, 1U);
}

class SampleTextRefusalTest : public testing::TestWithParam<const char*>
{};

TEST_P(SampleTextRefusalTest, TextOfAnotherShapeIsRefusedAndTheValueStays)
{
    MacroXptOutput value = lockedOutput();

    EXPECT_FALSE(parseJson(GetParam(), value));

    EXPECT_EQ(jsonText(value), lockedText);
}

INSTANTIATE_TEST_SUITE_P(
    All, SampleTextRefusalTest,
    testing::Values("", "{", "[]", "7", "null", R"({"macroXptOutput":7})",
                    R"({"macroXptOutput":7,"macroXptInput":"1","when":0,"lprId":0,"lprState":0})",
                    R"({"macroXptOutput":7,"macroXptInput":-1,"when":0,"lprId":0,"lprState":0})",
                    R"({"macroXptOutput":7,"macroXptInput":1.5,"when":0,"lprId":0,"lprState":0})",
                    R"({"macroXptOutput":7,"macroXptInput":4294967296,"when":0,"lprId":0,"lprState":0})",
                    R"({"macroXptOutput":7,"macroXptInput":1,"when":0,"lprId":0,"lprState":0} more)"));

TEST(SampleTextTest, StringOverItsBoundIsRefused)
{
    ComponentInfo info;

    EXPECT_TRUE(parseJson(jsonText(component(std::string(32, 'x'))), info));
    EXPECT_FALSE(parseJson(jsonText(component(std::string(33, 'x'))), info));
}

TEST(SampleTextTest, SameDecisionAtAnotherTimeIsTheSame)
{
    MacroXptOutput later = lockedOutput();
    later.when = 1;
    EXPECT_TRUE(sameButWhen(lockedOutput(), later));

    later.lprId = 43;
    EXPECT_FALSE(sameButWhen(lockedOutput(), later));
}
