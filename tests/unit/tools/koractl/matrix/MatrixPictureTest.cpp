#include "tools/koractl/matrix/MatrixPicture.h"

#include "tests/unit/tools/koractl/Golden.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace koraclient;
using namespace koractl;

namespace
{

std::string textOf(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
    {
        text += line + "\n";
    }
    return text;
}

/// A level whose output n shows input 7 n modulo the number of ports, with some locks and some outputs without a route.
MatrixModel plant(std::uint32_t ports, const Names& names = Names::none())
{
    MatrixModel model(1, std::nullopt, std::nullopt, names);
    for (std::uint32_t output = 1; output <= ports; ++output)
    {
        const std::uint32_t state = output % 50 == 0 ? 1 : output % 70 == 0 ? 2 : 0;
        const bool isRouted = output % 90 != 0;
        model.apply({output, isRouted ? 0U : 3U, isRouted ? output * 7 % ports + 1 : 0,
                     OutputLpr{state, state == 0 ? 0 : 40 + output % 4}});
    }
    return model;
}

MatrixModel small(const Names& names = Names::none())
{
    MatrixModel model(1, std::nullopt, std::nullopt, names);
    model.apply({1, 0, 1, OutputLpr{0, 0}});
    model.apply({2, 0, 12, OutputLpr{1, 42}});
    model.apply({3, 0, 12, OutputLpr{2, 7}});
    model.apply({4, 3, 0, OutputLpr{0, 0}});
    model.apply({5, 3, 0, OutputLpr{1, 9}});
    return model;
}

} // namespace

TEST(MatrixPicture, GoldenSmallLevel)
{
    const MatrixModel model = small();

    EXPECT_EQ(textOf(MatrixPicture(model, 60, false).sections()),
              "level 1: outputs 1-5, inputs 1-12; 3 routed, 2 locked, 1 protected\n"
              "\n"
              "OUTPUT  1   5    10\n"
              "        |   |    |\n"
              "     1  o........:..     1\n"
              "     2  .........:.L    12  locked by 42\n"
              "     3  .........:.P    12  protected by 7\n"
              "\n"
              "no route: 4-5\n"
              "output 5 without a route is locked by 9\n");
}

TEST(MatrixPicture, GivenNamesShowsThemAtBothSides)
{
    std::istringstream in("level 1 video\ninput 12 CAM 1\noutput 2 a very long name indeed\n");
    const Names names = Names::read(in, "names");
    const MatrixModel model = small(names);

    const std::string text = textOf(MatrixPicture(model, 90, false).sections());

    EXPECT_EQ(text.substr(0, text.find('\n')),
              "level 1 video: outputs 1-5, inputs 1-12; 3 routed, 2 locked, 1 protected");
    EXPECT_NE(text.find("     2 a very long nam~  .........:.L    12 CAM 1  locked by 42\n"), std::string::npos)
        << text;
}

TEST(MatrixPicture, GivenColourPaintsMarksAndLocks)
{
    const MatrixModel model = small();
    const MatrixPicture sut(model, 60, true);

    EXPECT_EQ(sut.row(model.outputs().at(2), 1, true),
              "\x1b[1m*    2\x1b[0m  \x1b[2m.........:.\x1b[0m\x1b[1;31mL\x1b[0m    12  \x1b[1;31mlocked by 42\x1b[0m");
    EXPECT_EQ(sut.row(model.outputs().at(1), 1), "     1  \x1b[1;32mo\x1b[0m\x1b[2m........:..\x1b[0m     1");
}

TEST(MatrixPicture, GivenNarrowTerminalLeavesOutTheWords)
{
    const MatrixModel model = plant(288);
    const MatrixPicture sut(model, 40, false);

    EXPECT_EQ(sut.columns(), 32U);
    EXPECT_EQ(sut.row(model.outputs().at(1), 1), "     1  .......o.:.........:.........:..");
}

TEST(MatrixPicture, GivenInputsToTheRightEndsWithTheLast)
{
    const MatrixModel model = small();
    const MatrixPicture sut(model, 60, false);

    EXPECT_EQ(textOf(sut.ruler(8)), "OUTPUT  8 10\n        | |\n");
    EXPECT_EQ(sut.row(model.outputs().at(2), 8), "     2  ..:.L           12  locked by 42");
}

TEST(MatrixPicture, GivenLimitsShowsWhatIsInThem)
{
    MatrixModel model(1, NumberRange{.first = 2, .last = 3}, NumberRange{.first = 1, .last = 4}, Names::none());
    for (std::uint32_t output = 1; output <= 4; ++output)
    {
        model.apply({output, 0, output == 3 ? 9 : output, std::nullopt});
    }

    EXPECT_EQ(textOf(MatrixPicture(model, 80, false).sections()),
              "level 1: outputs 2-3, inputs 1-4; 2 routed, 0 locked, 0 protected\n"
              "\n"
              "OUTPUT  1\n"
              "        |\n"
              "     2  .o..           2\n"
              "\n"
              "1 output shows an input outside 1-4\n");
}

TEST(MatrixPicture, Golden288Ports)
{
    const MatrixModel model = plant(288);

    expectGolden("matrix-288.txt", textOf(MatrixPicture(model, 120, false).sections()));
}

TEST(MatrixPicture, Golden2304Ports)
{
    const MatrixModel model = plant(2304);

    const auto lines = MatrixPicture(model, 120, false).sections();

    expectGolden("matrix-2304.txt", textOf(lines));
    for (const std::string& line : lines)
    {
        ASSERT_LE(line.size(), 120U) << line;
    }
}

TEST(MatrixPicture, Golden288PortsInColour)
{
    const MatrixModel model = plant(288);

    expectGolden("matrix-288-colour.txt", textOf(MatrixPicture(model, 200, true).sections()));
}
