#include "runtime/misc/Menu.h"

#include "tests/support/BrokenLogger.h"
#include "tests/support/Operator.h"
#include "tests/support/ReplacedInput.h"
#include "tests/unit/runtime/misc/ConsoleFixture.h"

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

using namespace com::tallowcrest::misc;

namespace
{

constexpr const char* bridgeTitles[] = {"Show Server Connections",
                                        "Show Server Stats",
                                        "Show Mempool",
                                        "Show Tasks",
                                        "Start Sampling",
                                        "Stop Sampling",
                                        "Show Macro Audio Xpts Target",
                                        "Show Macro Video Xpts Target",
                                        "Show Macro Audio Xpts Status",
                                        "Show Macro Video Xpts Status",
                                        "Show All Levels"};

/// A menu on standard input and output.
class MenuTest : public testing::Test
{
protected:
    ~MenuTest() override { clearConsoleStop(); }

    void addBridgeItems()
    {
        for (const char* title : bridgeTitles)
        {
            m_sut.addItem(title, [this, title] { m_chosen.emplace_back(title); });
        }
    }
    std::string display() const
    {
        testing::internal::CaptureStdout();
        m_sut.display();
        return testing::internal::GetCapturedStdout();
    }
    /// Runs the menu over the given input, which then ends; returns all that was printed.
    std::string runOver(const std::string& input)
    {
        m_input.write(input);
        m_input.end();
        testing::internal::CaptureStdout();
        m_sut.run({}, {}, {});
        return testing::internal::GetCapturedStdout();
    }

    testsupport::ReplacedInput m_input;
    Menu m_sut{"KORA"};
    std::vector<std::string> m_chosen;
};

using Chosen = std::vector<std::string>;

TEST_F(MenuTest, display_laysItemsOutColumnByColumn)
{
    addBridgeItems();
    m_sut.addItem("q:  quit", {});

    EXPECT_EQ(testsupport::menuScreen, display());
}

TEST_F(MenuTest, display_withoutItems_showsTitleAndPrompt)
{
    EXPECT_EQ("\nKORA\nEnter selection: ", display());
}

TEST_F(MenuTest, display_withOneItem_doesNotPadIt)
{
    m_sut.addItem("only", {});

    EXPECT_EQ("\nKORA\n 0. only\nEnter selection: ", display());
}

TEST_F(MenuTest, display_whenTheLastColumnIsShort_endsTheRowsWithoutPadding)
{
    // 80 / (6 + 8) = 5 columns, 7 / 5 = 2 rows: the fifth column stays empty, the fourth has one item.
    for (const char* title : {"a", "bb", "ccc", "dddd", "eeeee", "ffffff", "g"})
    {
        m_sut.addItem(title, {});
    }

    EXPECT_EQ("\nKORA\n"
              " 0. a      2. ccc    4. eeeee  6. g\n"
              " 1. bb     3. dddd   5. ffffff\n"
              "Enter selection: ",
              display());
}

TEST_F(MenuTest, display_whenATitleIsWiderThanTheScreen_usesOneColumn)
{
    const std::string wide(100, 'w');
    m_sut.addItem(wide, {});
    m_sut.addItem("b", {});

    EXPECT_EQ("\nKORA\n 0. " + wide + "\n 1. b\nEnter selection: ", display());
}

TEST_F(MenuTest, removeItem_takesTheFirstOfThatTitleAndRenumbers)
{
    for (const char* title : {"a", "b", "a", "c"})
    {
        m_sut.addItem(title, {});
    }

    m_sut.removeItem("a");
    m_sut.removeItem("none");

    EXPECT_EQ("\nKORA\n 0. b 1. a 2. c\nEnter selection: ", display());
    m_input.write("3\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(nullptr, m_sut.select().item);
    EXPECT_EQ("3 is not a valid choice.\n", testing::internal::GetCapturedStdout());
}

struct SelectionCase
{
    const char* name;
    const char* input;
    const char* chosen; ///< null when nothing is
    const char* printed;
};

class MenuSelection : public MenuTest, public testing::WithParamInterface<SelectionCase>
{};

TEST_P(MenuSelection, select_finds)
{
    addBridgeItems();
    m_input.write(std::string(GetParam().input) + "\r\n");

    testing::internal::CaptureStdout();
    const auto choice = m_sut.select();

    EXPECT_EQ(GetParam().printed, testing::internal::GetCapturedStdout());
    ASSERT_EQ(GetParam().chosen != nullptr, choice.item != nullptr);
    if (choice.item != nullptr)
    {
        EXPECT_EQ(GetParam().chosen, choice.item->title);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, MenuSelection,
    testing::Values(SelectionCase{"Zero", "0", "Show Server Connections", ""},
                    SelectionCase{"LastNumber", "10", "Show All Levels", ""},
                    SelectionCase{"LeadingZeros", "003", "Show Tasks", ""},
                    SelectionCase{"NumberWithTail", "4 please", "Start Sampling", ""},
                    SelectionCase{"NumberTooHigh", "11", nullptr, "11 is not a valid choice.\n"},
                    SelectionCase{"NumberNegative", "-1", nullptr, "-1 is not a valid choice.\n"},
                    SelectionCase{"NumberBeyondInt", "4294967296", nullptr, "2147483647 is not a valid choice.\n"},
                    SelectionCase{"NumberBelowInt", "-99999999999", nullptr, "-2147483648 is not a valid choice.\n"},
                    SelectionCase{"MinusAlone", "-", nullptr, "- is not a valid choice.\n"},
                    SelectionCase{"MinusText", "-x", nullptr, "-x is not a valid choice.\n"},
                    SelectionCase{"Prefix", "show t", "Show Tasks", ""},
                    SelectionCase{"PrefixInOtherCase", "SHOW mEM", "Show Mempool", ""},
                    SelectionCase{"PrefixOfSeveral", "show", "Show Server Connections", ""},
                    SelectionCase{"WholeTitle", "Show Server Stats", "Show Server Stats", ""},
                    SelectionCase{"LongerThanTitle", "Show Tasks!", nullptr, "Show Tasks! is not a valid choice.\n"},
                    SelectionCase{"Empty", "", "Show Server Connections", ""},
                    SelectionCase{"Unknown", "what", nullptr, "what is not a valid choice.\n"},
                    SelectionCase{"FormatCharacters", "%s%n", nullptr, "%s%n is not a valid choice.\n"},
                    SelectionCase{"LeadingBlank", " 3", nullptr, " 3 is not a valid choice.\n"}),
    [](const testing::TestParamInfo<SelectionCase>& value) { return value.param.name; });

TEST_F(MenuTest, select_onEmptyInputWithoutItems_isNotAValidChoice)
{
    m_input.write("\n");

    testing::internal::CaptureStdout();
    const auto choice = m_sut.select();

    EXPECT_EQ(" is not a valid choice.\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ(nullptr, choice.item);
}

TEST_F(MenuTest, run_endsOnQuitAndRemovesTheQuitItem)
{
    addBridgeItems();

    const std::string screen = testsupport::menuScreen;
    EXPECT_EQ(screen + screen + screen + "12 is not a valid choice.\n" + screen, runOver("3\nshow all\n12\nQ\nq\n"));
    EXPECT_EQ((Chosen{"Show Tasks", "Show All Levels"}), m_chosen);
    EXPECT_EQ(std::string::npos, display().find("quit"));
}

TEST_F(MenuTest, run_quitsByNumber)
{
    addBridgeItems();

    EXPECT_EQ(testsupport::menuScreen, runOver("11\n3\n"));
    EXPECT_EQ(Chosen{}, m_chosen);
}

TEST_F(MenuTest, run_atEndOfInput_saysSoOnceAndEnds)
{
    addBridgeItems();

    EXPECT_EQ(std::string(testsupport::menuScreen) + "scanf error: -1\n", runOver(""));
}

TEST_F(MenuTest, run_whenAStopWasRequested_showsNothing)
{
    requestConsoleStop();

    EXPECT_EQ("", runOver("0\n"));
}

TEST_F(MenuTest, run_whenAnItemRequestsAStop_ends)
{
    m_sut.addItem("stop", [] { requestConsoleStop(); });

    EXPECT_EQ("\nKORA\n 0. stop     1. q:  quit\nEnter selection: ", runOver("0\n0\n"));
}

TEST_F(MenuTest, run_callsItsHooksInOrder)
{
    std::string calls;
    m_sut.addItem("item", [&] { calls += "item "; });
    m_input.write("0\nq\n");

    testing::internal::CaptureStdout();
    m_sut.run([&] { calls += "round "; }, [&] { calls += "enter "; },
              [&] {
                  calls += "exit";
                  m_sut.display();
              });
    const std::string printed = testing::internal::GetCapturedStdout();

    EXPECT_EQ("enter round item round exit", calls);
    EXPECT_TRUE(printed.ends_with("\nKORA\n 0. item\nEnter selection: ")) << "the quit item has gone: " << printed;
}

TEST_F(MenuTest, run_whenAnItemThrows_saysSoAndGoesOn)
{
    const testsupport::LogRecorder log;
    m_sut.addItem("bad", [] { throw std::runtime_error("no table"); });

    const std::string screen = "\nKORA\n 0. bad      1. q:  quit\nEnter selection: ";
    EXPECT_EQ(screen + "bad failed: no table\n" + screen, runOver("0\nq\n"));
    ASSERT_EQ(1U, log.lines().size());
    EXPECT_EQ("menu item 'bad' failed, no table", log.lines()[0].text);
    EXPECT_EQ("ERROR", log.lines()[0].level);
}

TEST_F(MenuTest, run_whenAnItemThrowsAndNothingCanBeLogged_goesOn)
{
    const testsupport::BrokenLogger log("KORABRIDGE");
    m_sut.addItem("bad", [] { throw std::runtime_error("no table"); });
    testing::internal::CaptureStderr();

    const std::string screen = "\nKORA\n 0. bad      1. q:  quit\nEnter selection: ";
    EXPECT_EQ(screen + "bad failed: no table\n" + screen, runOver("0\nq\n"));
    EXPECT_EQ("menu item 'bad' failed, no table (not logged: no space)\n", testing::internal::GetCapturedStderr());
}

TEST_F(MenuTest, run_whenAStepOfItsOwnThrows_saysSoAndGoesOn)
{
    const testsupport::LogRecorder log;
    m_input.write("q\n");
    int rounds = 0;

    testing::internal::CaptureStdout();
    m_sut.run(
        [&rounds] {
            if (++rounds == 1)
            {
                throw std::bad_alloc();
            }
        },
        {}, {});
    const std::string printed = testing::internal::GetCapturedStdout();

    EXPECT_EQ(2, rounds);
    EXPECT_EQ("\nKORA\n 0. q:  quit\nEnter selection: ", printed);
    EXPECT_EQ((std::vector<std::string>{"ERROR menu failed, std::bad_alloc"}), log.texts());
}

TEST_F(MenuTest, run_whenAStopIsRequestedWhileItsStepsThrow_ends)
{
    const testsupport::LogRecorder log;
    m_sut.run(
        [] {
            requestConsoleStop();
            throw std::bad_alloc();
        },
        {}, {});

    EXPECT_EQ(1U, log.lines().size());
}

TEST_F(MenuTest, run_whenAnItemRemovesItself_goesOn)
{
    m_sut.addItem("once", [this] {
        m_sut.removeItem("once");
        m_chosen.emplace_back("once");
    });

    runOver("once\nonce\nq\n");

    EXPECT_EQ(Chosen{"once"}, m_chosen);
}

TEST_F(MenuTest, run_canBeNested)
{
    Menu inner("INNER");
    m_sut.addItem("inner", [&] { inner.run({}, {}, {}); });

    const std::string outerScreen = "\nKORA\n 0. inner    1. q:  quit\nEnter selection: ";
    EXPECT_EQ(outerScreen + "\nINNER\n 0. q:  quit\nEnter selection: " + outerScreen, runOver("0\nq\nq\n"));
}

/// The menu on the telnet console.
class MenuOverTelnet : public ConsoleFixture
{
protected:
    void runMenu()
    {
        for (const char* title : bridgeTitles)
        {
            m_menu.addItem(title, [title] { print("<%s>\n", title); });
        }
        runAsReader([this] { m_menu.run({}, {}, {}); });
    }
    static std::string answer(const testsupport::TcpSocket& client, const std::string& input, std::size_t size)
    {
        client.send(input);
        return client.receive(size);
    }

    const std::string m_screen = testsupport::menuScreen;
    Menu m_menu{"KORA"};
};

TEST_F(MenuOverTelnet, whenAClientConnects_seesTheMenuAtOnceAndOnlyOnce)
{
    start();
    runMenu();

    const auto client = connect();

    EXPECT_EQ(m_screen, client.receive(m_screen.size()));
    const std::string expected = "<Show Tasks>\n" + m_screen;
    EXPECT_EQ(expected, answer(client, "3\r\n", expected.size()));
}

TEST_F(MenuOverTelnet, whenTheMenuIsLongerThanOnePrintMayBe_arrivesWhole)
{
    std::string screen = "\nKORA\n";
    for (int i = 10; i < 70; ++i)
    {
        const std::string title = std::string(70, 't') + std::to_string(i);
        m_menu.addItem(title, {});
        screen += (i < 20 ? " " : "") + std::to_string(i - 10) + ". " + title + "\n";
    }
    screen += "60. q:  quit\nEnter selection: ";
    start();
    runAsReader([this] { m_menu.run({}, {}, {}); });

    const auto client = connect();

    EXPECT_EQ(screen, client.receive(screen.size()));
}

TEST_F(MenuOverTelnet, whenAClientWasThereBeforeTheMenu_seesItOnlyOnce)
{
    start();
    const auto client = connect();
    ASSERT_TRUE(waitForLogged("Telnet connected to"));
    runMenu();

    const std::string expected = m_screen + "<Show Tasks>\n" + m_screen;
    client.send("3\r\n");
    EXPECT_EQ(expected, client.receive(expected.size()));
    EXPECT_EQ("", client.receive(1, std::chrono::milliseconds(50)));
}

TEST_F(MenuOverTelnet, whenTheClientQuits_theMenuEnds)
{
    start();
    runMenu();
    const auto client = connect();

    client.send("q\r\n");

    EXPECT_TRUE(waitForReader());
}

TEST_F(MenuOverTelnet, whenSeveralLinesComeAtOnce_eachIsAChoice)
{
    start();
    runMenu();
    const auto client = connect();

    client.send("3\r\nshow t\n12\r");

    const std::string expected =
        m_screen + "<Show Tasks>\n" + m_screen + "<Show Tasks>\n" + m_screen + "12 is not a valid choice.\n" + m_screen;
    EXPECT_EQ(expected, client.receive(expected.size()));
}

TEST_F(MenuOverTelnet, whenALineIsOverLong_itsRestIsNoChoice)
{
    start();
    runMenu();
    const auto client = connect();

    client.send("z" + std::string(3000, '3') + "\r\n4\r\n");

    const std::string expected = m_screen + "z" + std::string(254, '3') + " is not a valid choice.\n" + m_screen +
                                 "<Start Sampling>\n" + m_screen;
    EXPECT_EQ(expected, client.receive(expected.size()));
}

TEST_F(MenuOverTelnet, whenOneClientFollowsAnother_itSeesAFreshMenuAndNothingOfTheOther)
{
    start();
    runMenu();
    {
        const auto first = connect();
        first.receive(m_screen.size());
        first.send("show serv"); // a line that never ends
    }
    ASSERT_TRUE(waitForLogged("Telnet Session Closed"));

    const auto second = connect();

    EXPECT_EQ(m_screen, second.receive(m_screen.size()));
    const std::string expected = "<Show Tasks>\n" + m_screen;
    EXPECT_EQ(expected, answer(second, "show t\r\n", expected.size()));
}

TEST_F(MenuOverTelnet, whenAStopIsRequestedWhileWaitingForAClient_ends)
{
    start();
    runMenu();

    requestConsoleStop();

    EXPECT_TRUE(waitForReader());
}

TEST_F(MenuOverTelnet, whenAStopIsRequestedWhileWaitingForInput_endsQuietly)
{
    start();
    runMenu();
    const auto client = connect();
    client.receive(m_screen.size());

    requestConsoleStop();

    EXPECT_TRUE(waitForReader());
    EXPECT_EQ("", client.receive(1, std::chrono::milliseconds(50)));
}

TEST_F(MenuOverTelnet, whenTheOperatorLeavesAtAPromptOfAnItem_theNextOneIsNotAskedIt)
{
    std::atomic<int> answerResult{0};
    m_menu.addItem("ask", [&] {
        print("firstXpt: ");
        std::array<char, 128> buffer{};
        answerResult = com::tallowcrest::misc::getline(buffer.data(), static_cast<int>(buffer.size()));
    });
    start();
    runAsReader([this] { m_menu.run({}, {}, {}); });
    const std::string screen = "\nKORA\n 0. ask      1. q:  quit\nEnter selection: ";
    {
        const auto first = connect();
        first.send("0\r\n");
        EXPECT_EQ(screen + "firstXpt: ", first.receiveUntil("firstXpt: "));
    }
    ASSERT_TRUE(waitForLogged("Telnet Session Closed"));

    const auto second = connect();

    EXPECT_EQ(screen, second.receive(screen.size()));
    EXPECT_EQ(consoleSessionChanged, answerResult);
}

TEST_F(MenuTest, run_whenAnItemWithoutAHandlerIsChosen_showsTheMenuAgain)
{
    m_sut.addItem("Nothing", {});

    EXPECT_EQ("\nKORA\n 0. Nothing  1. q:  quit\nEnter selection: "
              "\nKORA\n 0. Nothing  1. q:  quit\nEnter selection: ",
              runOver("nothing\nq\n"));
}

TEST_F(MenuOverTelnet, operatorWhoLeavesWhileNothingCanBeLoggedIsFollowedByTheNext)
{
    const std::string screen = "\nKORA\n 0. q:  quit\nEnter selection: ";
    start();
    runAsReader([this] { m_menu.run({}, {}, {}); });
    const testsupport::BrokenLogger log("KORABRIDGE");
    {
        const auto first = testsupport::TcpSocket::connect(port);
        ASSERT_TRUE(first);
        EXPECT_TRUE(first->receiveUntil(screen).ends_with(screen));
    }
    std::string seen;
    EXPECT_TRUE(testsupport::waitUntil([&] {
        const auto next = testsupport::TcpSocket::connect(port);
        seen = next ? next->receiveUntil(screen) : "";
        return seen.ends_with(screen);
    }));
}

} // namespace
