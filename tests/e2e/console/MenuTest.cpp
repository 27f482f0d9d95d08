#include "tests/e2e/console/OperatorFixture.h"

#include <cctype>
#include <map>

using namespace e2e;

namespace
{

class ConsoleMenuTest : public OperatorFixture
{
protected:
    void SetUp() override { startBridge(); }
};

const std::string videoTargetHeading = "\n--------- Video Crosspoints Target ---------\n\n";

} // namespace

TEST_F(ConsoleMenuTest, NewOperatorIsGreetedAndSeesTheMenu)
{
    const Operator sut;

    EXPECT_EQ(sut.firstText(), greeting);
    EXPECT_TRUE(bridge().waitForOutput("\n* Telnet Session Connected - client:  127.000.000.001 *\n"));
    EXPECT_TRUE(bridge().waitForOutput("Telnet connected to 127.000.000.001"));
}

TEST_F(ConsoleMenuTest, WrongInputIsRepeatedAndTheMenuComesAgain)
{
    Operator sut;

    EXPECT_EQ(sut.choose("12"), "12 is not a valid choice.\n");
    EXPECT_EQ(sut.choose("-1"), "-1 is not a valid choice.\n");
    EXPECT_EQ(sut.choose("99999999999999999999"), "2147483647 is not a valid choice.\n");
    EXPECT_EQ(sut.choose("-"), "- is not a valid choice.\n");
    EXPECT_EQ(sut.choose("frobnicate %s %n"), "frobnicate %s %n is not a valid choice.\n");
    EXPECT_EQ(sut.choose(" 3"), " 3 is not a valid choice.\n");
}

TEST_F(ConsoleMenuTest, ItemIsFoundByNumberAndByTheBeginningOfItsTitleInAnyCase)
{
    Operator sut;
    const std::string stats = sut.choose("1");
    ASSERT_NE(stats.find("Server Stats"), std::string::npos);

    EXPECT_EQ(sut.choose("show server s"), stats);
    EXPECT_EQ(sut.choose("SHOW SERVER STATS"), stats);
    EXPECT_EQ(sut.choose("1 and more"), stats);
    EXPECT_NE(sut.choose("show t").find("Task Pointer"), std::string::npos);
    EXPECT_NE(sut.choose("sHOW mEM").find("Grow Blocks"), std::string::npos);
    EXPECT_EQ(sut.choose("show a"), sut.choose("10"));
}

TEST_F(ConsoleMenuTest, EmptyInputTakesTheFirstItem)
{
    Operator sut;

    sut.type("\n");

    EXPECT_NE(sut.until("clientFd         Ip Addr\n-------- ---------------\n").find("\n"), std::string::npos);
}

TEST_F(ConsoleMenuTest, EveryTableItemHasItsHeading)
{
    const std::map<std::string, std::string> headings{{"6", "Audio Crosspoints Target"},
                                                      {"show macro v", "Video Crosspoints Target"},
                                                      {"8", "Audio Crosspoints Status"},
                                                      {"Show Macro Video Xpts S", "Video Crosspoints Status"}};
    Operator sut;
    for (const auto& [item, heading] : headings)
    {
        EXPECT_EQ(sut.chooseTable(item), xptPrompt);
        const auto table = sut.choose("1");
        const std::string begin = "\n--------- " + heading + " ---------\n\n" + tableHeader();
        EXPECT_EQ(table.substr(0, begin.size()), begin) << item;
        EXPECT_EQ(lines(table).size(), 5U + 10U) << item;
    }
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(ConsoleMenuTest, FirstXptThatIsNoNumberIsZero)
{
    Operator sut;

    const auto rows = lines(sut.table("7", "abc"));

    ASSERT_EQ(rows.size(), 15U);
    for (std::size_t i = 0; i < 10; ++i)
    {
        EXPECT_EQ(std::stoi(rows[5 + i].substr(16, 7)), static_cast<int>(i));
    }
    EXPECT_EQ(lines(sut.table("7", "")).size(), 15U);
}

TEST_F(ConsoleMenuTest, FirstXptBeyondTheTableShowsTheHeadingAlone)
{
    Operator sut;

    EXPECT_EQ(sut.table("7", "289"), videoTargetHeading);
    EXPECT_EQ(sut.table("7", "99999999999999999999"), videoTargetHeading);
    EXPECT_EQ(sut.table("7", "-5"), videoTargetHeading);
    EXPECT_EQ(lines(sut.table("7", "288")).size(), 6U);
    EXPECT_EQ(lines(sut.table("6", "2300")).size(), 10U);
}

TEST_F(ConsoleMenuTest, QuitEndsTheProcessAndTheSession)
{
    for (const char* const word : {"q", "Q", "11", "q:  quit"})
    {
        startBridge();
        Operator sut;

        sut.type(std::string(word) + "\r\n");

        EXPECT_EQ(sut.untilEnd(), "") << word;
        EXPECT_EQ(bridge().waitForExit(), 0) << word;
    }
}
