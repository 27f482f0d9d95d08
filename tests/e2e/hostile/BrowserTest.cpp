#include "tests/e2e/hostile/HostileFixture.h"
#include "tests/support/Operator.h"

#include <exception>

using namespace e2e;

namespace
{

using testsupport::Operator;

constexpr const char* formHead =
    "POST / HTTP/1.1\r\nHost: board\r\nContent-Type: text/plain\r\nContent-Length: 64\r\n\r\n";

/// What a web page can make the browser of a permitted machine send.
class BrowserTest : public HostileFixture
{
protected:
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(startJoined()); }

    static bool isAnswered(const TcpSocket& page, const std::string& bytes)
    {
        try
        {
            page.send(bytes);
        }
        catch (const std::exception&)
        {
            return false; // closed by the other end
        }
        return !page.receive(1, std::chrono::milliseconds(200)).empty();
    }
};

} // namespace

TEST_F(BrowserTest, FormWithTheQuitLineInItsBodyIsClosedAndTheBridgeServesOn)
{
    const auto page = connectRaw(testsupport::telnetPort);
    page.send(std::string(formHead) + "a=\r\nq\r\n");

    EXPECT_TRUE(page.waitForClose());
    EXPECT_TRUE(bridge().waitForOutput("WARN "));
    EXPECT_TRUE(bridge().waitForOutput("HTTP request from 127.000.000.001 to the console, closed"));
    Operator next;
    EXPECT_FALSE(next.choose("show tasks").empty());
    EXPECT_TRUE(bridge().isRunning());
}

TEST_F(BrowserTest, HostLineOfAnUnknownMethodIsClosedToo)
{
    const auto page = connectRaw(testsupport::telnetPort);
    page.send("FIND / HTTP/1.1\r\nhost: board\r\n\r\nq\r\n");

    EXPECT_TRUE(page.waitForClose());
    const Operator next;
    EXPECT_TRUE(bridge().isRunning());
}

TEST_F(BrowserTest, FormPostedToTheControllersPortIsClosedBeforeItsBodyIsHandled)
{
    const auto page = connectRaw();
    page.send(formHead);

    EXPECT_FALSE(isAnswered(page, portPresentRequest(1))); // with the head, perhaps
    EXPECT_FALSE(isAnswered(page, portPresentRequest(2)));
    EXPECT_TRUE(page.waitForClose());
    EXPECT_TRUE(bridge().waitForOutput("HTTP request from 127.0.0.1 to the controllers' port, closed"));
    EXPECT_EQ(connectController().portPresent(), 0U);
}
