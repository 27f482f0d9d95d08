#include "tests/e2e/console/OperatorFixture.h"

#include <random>

using namespace e2e;

namespace
{

class ConsoleBytesTest : public OperatorFixture
{
protected:
    void SetUp() override { startBridge(); }
};

/// What the console answers to a choice that it does not know, so that a test sees which line it understood.
std::string refused(const std::string& line)
{
    return line + " is not a valid choice.\n";
}

} // namespace

TEST_F(ConsoleBytesTest, LinesMayEndInAnyOfTheUsualWays)
{
    Operator sut;

    sut.type(std::string("x1\r\nx2\nx3\r\0x4\r", 14));
    for (const char* const line : {"x1", "x2", "x3", "x4"})
    {
        EXPECT_EQ(sut.untilMenu(), refused(line));
    }
    sut.type("\nx5\n"); // the rest of the CR LF that was cut in two
    EXPECT_EQ(sut.untilMenu(), refused("x5"));
}

TEST_F(ConsoleBytesTest, LineMayComeByteByByte)
{
    Operator sut;

    for (const char byte : std::string("show server s\r\n"))
    {
        sut.type(std::string(1, byte));
    }

    EXPECT_NE(sut.untilMenu().find("Server Stats"), std::string::npos);
    EXPECT_EQ(sut.choose("x"), refused("x"));
}

TEST_F(ConsoleBytesTest, SeveralLinesAtOnceAreAnsweredInOrderPromptsIncluded)
{
    Operator sut;

    sut.type("x1\n7\n288\nx2\n");

    EXPECT_EQ(sut.untilMenu(), refused("x1"));
    EXPECT_EQ(lines(sut.untilMenu()).size(), 6U); // prompt and heading share a line
    EXPECT_EQ(sut.untilMenu(), refused("x2"));
}

TEST_F(ConsoleBytesTest, RestOfAnOverLongLineIsNoCommand)
{
    Operator sut;

    const std::string answer = sut.choose(std::string(5000, 'x') + "q");

    EXPECT_EQ(answer, refused(std::string(255, 'x')));
    EXPECT_EQ(sut.choose("x2"), refused("x2"));
    EXPECT_TRUE(bridge().isRunning());
}

TEST_F(ConsoleBytesTest, OverLongAnswerToAPromptIsOneAnswer)
{
    Operator sut;

    EXPECT_EQ(lines(sut.table("7", std::string(200, '0') + "q")).size(), 15U);
    EXPECT_EQ(sut.choose("x2"), refused("x2"));
}

TEST_F(ConsoleBytesTest, NegotiationIsNoText)
{
    Operator sut;

    // WILL and DO with options, a sub-negotiation with a line end and an escaped 255 in it, a lone NOP.
    sut.type(std::string("\xff\xfb\x18\xff\xfd\x03x\xff\xfa\x1f\n\xff\xff q\n\xff\xf0"
                         "1\xff\xf1\r\n",
                         22));

    EXPECT_EQ(sut.untilMenu(), refused("x1"));
    EXPECT_TRUE(bridge().isRunning());
}

TEST_F(ConsoleBytesTest, NoiseNeverEndsTheMenu)
{
    Operator sut;
    std::mt19937 random(1); // the same noise in every run
    std::uniform_int_distribution<int> anyByte(0, 255);
    std::string noise;
    while (noise.size() < 4096)
    {
        const auto byte = static_cast<char>(anyByte(random));
        // No line of noise may mean "quit", and none chooses an item that waits for the apartment.
        noise += (byte == 'q' || byte == 'Q' || (byte >= '0' && byte <= '9')) ? 'x' : byte;
    }

    sut.type(noise);
    sut.type(std::string("\xff\xf0\n", 3) + std::string(1024, ' ') + "\n"); // out of any sub-negotiation
    sut.type("the end\n");

    sut.until(refused("the end"));
    sut.untilMenu();
    EXPECT_EQ(sut.choose("x"), refused("x"));
}
