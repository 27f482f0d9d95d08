#include "tools/common/AddressReader.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

using namespace koraclient;
using namespace koractl;

namespace
{

Names studio()
{
    std::istringstream in("level 1 video\ninput 12 CAM 1\noutput 7 MON 3\nlevel 2\ninput 5 CAM 1\n");
    return Names::read(in, "studio");
}

std::string problemOf(const AddressReader& reader, const std::string& text)
{
    try
    {
        (void)reader.takeEntry(text, 0);
    }
    catch (const std::invalid_argument& problem)
    {
        return problem.what();
    }
    return "";
}

} // namespace

TEST(AddressReader, TakeEntryIsLevelInputOutput)
{
    EXPECT_EQ(AddressReader(Names::none()).takeEntry("1:12:7", 5),
              (TakeEntry{.level = 1, .lprId = 5, .input = 12, .output = 7}));
}

TEST(AddressReader, OutputAddressIsLevelOutput)
{
    EXPECT_EQ(AddressReader(Names::none()).outputAddress("1:0x10"), (OutputAddress{.level = 1, .output = 16}));
}

TEST(AddressReader, GivenEntryOfAnotherFormSaysWhichFormIsWanted)
{
    for (const char* const text : {"", "1", "1:2", "1:2:3:4", "1::3", "a:2:3"})
    {
        try
        {
            (void)AddressReader(Names::none()).takeEntry(text, 0);
            ADD_FAILURE() << text << " was accepted";
        }
        catch (const std::invalid_argument& problem)
        {
            EXPECT_EQ(
                std::string(problem.what()).find("'" + std::string(text) + "' is not of the form LEVEL:INPUT:OUTPUT"),
                0U)
                << problem.what();
        }
    }
    EXPECT_THROW((void)AddressReader(Names::none()).outputAddress("1:2:3"), std::invalid_argument);
}

TEST(AddressReader, GivenNamesTakesThemOrNumbers)
{
    const Names names = studio();
    const AddressReader sut(names);

    EXPECT_EQ(sut.takeEntry("video:CAM 1:MON 3", 0), (TakeEntry{.level = 1, .lprId = 0, .input = 12, .output = 7}));
    EXPECT_EQ(sut.takeEntry("1:13:MON 3", 0), (TakeEntry{.level = 1, .lprId = 0, .input = 13, .output = 7}));
    EXPECT_EQ(sut.takeEntry("2:CAM 1:1", 0), (TakeEntry{.level = 2, .lprId = 0, .input = 5, .output = 1}));
    EXPECT_EQ(sut.outputAddress("video:MON 3"), (OutputAddress{.level = 1, .output = 7}));
}

TEST(AddressReader, GivenNamesSaysWhatATextDoesNotName)
{
    const Names names = studio();
    const AddressReader sut(names);

    EXPECT_EQ(problemOf(sut, "audio:1:1"), "'audio:1:1' is not of the form LEVEL:INPUT:OUTPUT: "
                                           "'audio' is neither a number nor the name of a level");
    EXPECT_EQ(problemOf(sut, "1:MON 3:1"), "'1:MON 3:1' is not of the form LEVEL:INPUT:OUTPUT: "
                                           "'MON 3' is neither a number nor the name of an input of level 1");
    EXPECT_EQ(problemOf(sut, "2:CAM 1:MON 3"), "'2:CAM 1:MON 3' is not of the form LEVEL:INPUT:OUTPUT: "
                                               "'MON 3' is neither a number nor the name of an output of level 2");
}

TEST(AddressReader, GivenOutputThatIsNoNumberSaysWhichFormIsWantedAndWhatIsWrong)
{
    try
    {
        (void)AddressReader(Names::none()).outputAddress("1:seven");
        ADD_FAILURE() << "it was accepted";
    }
    catch (const std::invalid_argument& problem)
    {
        const std::string text = problem.what();
        EXPECT_EQ(text.find("'1:seven' is not of the form LEVEL:OUTPUT"), 0U) << text;
        EXPECT_NE(text.find("'seven'"), std::string::npos) << text;
    }
}
