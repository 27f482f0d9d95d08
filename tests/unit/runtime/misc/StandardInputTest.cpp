#include "runtime/misc/StandardInput.h"

#include "tests/support/ReplacedInput.h"
#include "tests/unit/runtime/misc/ConsoleFixture.h"

using namespace com::tallowcrest::misc;

namespace
{

class ConsoleWithoutTelnet : public testing::Test
{
protected:
    std::string getline(int size = 256)
    {
        std::vector<char> buffer(static_cast<std::size_t>(size), '?');
        m_result = com::tallowcrest::misc::getline(buffer.data(), size);
        return buffer.data();
    }
    ~ConsoleWithoutTelnet() override { clearConsoleStop(); }

    testsupport::ReplacedInput m_input;
    int m_result = 0;
};

TEST_F(ConsoleWithoutTelnet, print_writesToStandardOutput)
{
    testing::internal::CaptureStdout();
    print("%s %d\n", "level", 3);
    print("Enter selection: ");

    EXPECT_EQ("level 3\nEnter selection: ", testing::internal::GetCapturedStdout());
}

TEST_F(ConsoleWithoutTelnet, getline_stripsAllTrailingLineEndsAndReturnsTheLength)
{
    m_input.write("show t\r\r\n\nq\n");

    EXPECT_EQ("show t", getline());
    EXPECT_EQ(6, m_result);
    EXPECT_EQ("", getline());
    EXPECT_EQ(0, m_result);
    EXPECT_EQ("q", getline());
}

TEST_F(ConsoleWithoutTelnet, getline_whenTheLineDoesNotFit_dropsItsRest)
{
    m_input.write("0123456789\nnext\n");

    EXPECT_EQ("012", getline(4));
    EXPECT_EQ(3, m_result);
    EXPECT_EQ("nex", getline(4));
}

TEST_F(ConsoleWithoutTelnet, getline_whenTheLineIsLongerThanAnyBuffer_dropsItsRest)
{
    m_input.write(std::string(20000, 'x') + "\nq\n");

    EXPECT_EQ(std::string(255, 'x'), getline());
    EXPECT_EQ("q", getline());
}

TEST_F(ConsoleWithoutTelnet, getline_atEndOfInput_isNegativeEachTime)
{
    m_input.write("last");
    m_input.end();

    EXPECT_EQ("last", getline());
    EXPECT_EQ("", getline());
    EXPECT_EQ(consoleEndOfInput, m_result);
    getline();
    EXPECT_EQ(consoleEndOfInput, m_result);
}

TEST_F(ConsoleWithoutTelnet, getline_whenAStopIsRequestedWhileItWaits_returns)
{
    std::atomic<int> result{0};
    std::thread reader([&] {
        std::array<char, 16> buffer{};
        result = com::tallowcrest::misc::getline(buffer.data(), static_cast<int>(buffer.size()));
    });

    requestConsoleStop();

    EXPECT_TRUE(testsupport::waitUntil([&] { return result == consoleStopping; }));
    m_input.end();
    reader.join();
}

TEST_F(ConsoleWithoutTelnet, consoleStop_canBeTakenBack)
{
    requestConsoleStop();
    EXPECT_TRUE(consoleStopRequested());

    clearConsoleStop();

    EXPECT_FALSE(consoleStopRequested());
    m_input.write("q\n");
    EXPECT_EQ("q", getline());
}

TEST(ConsoleSlot, whenEmpty_isNotTelnetOnly)
{
    EXPECT_EQ(nullptr, console());
    EXPECT_FALSE(isConsoleTelnetOnly());
}

TEST(ConsoleSlot, holdsTheConsoleAndACopyOfItsFlag)
{
    const auto telnet = std::make_shared<TelnetIO>("KORABRIDGE", testsupport::telnetPort, true);

    setConsole(telnet);

    EXPECT_EQ(telnet, console());
    EXPECT_TRUE(isConsoleTelnetOnly());

    resetConsole();

    EXPECT_EQ(nullptr, console());
    EXPECT_FALSE(isConsoleTelnetOnly());
    EXPECT_EQ(1, telnet.use_count());
}

TEST_F(ConsoleWithoutTelnet, getline_intoABufferOfNoSize_writesNothing)
{
    m_input.write("text\n");
    char untouched = '?';

    EXPECT_EQ(0, com::tallowcrest::misc::getline(&untouched, 0));

    EXPECT_EQ('?', untouched);
}

} // namespace
