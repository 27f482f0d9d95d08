// What is promised of the console within a time.
#include "tests/support/StallMeter.h"
#include "tests/support/TimeFactor.h"
#include "tests/unit/runtime/misc/ConsoleFixture.h"
#include "tests/unit/runtime/misc/TelnetClientFixture.h"

#include <string>

namespace
{

using namespace std::chrono_literals;
using testsupport::scaled;

class TelnetIOTimeTest : public TelnetIOTest
{
protected:
    testsupport::StallMeter m_stalls;
};

TEST_F(TelnetIOTimeTest, stop_endsAWaitingGetlineSoon)
{
    start();
    runAsReader([this] { getline(); });

    const auto took = m_stalls.workedDuring([this] {
        m_sut->stop();
        EXPECT_TRUE(waitForReader());
    });

    EXPECT_LT(took, scaled(500ms)) << "who waits looks again each second";
}

TEST_F(TelnetIOTimeTest, stop_whenTheClientNeverReads_isNotHeldUp)
{
    start();
    const auto client = connectAndNotice();
    const std::string text(2000, 'x');
    ASSERT_TRUE(testsupport::waitUntil([&] {
        m_sut->Print("%s", text.c_str());
        return countLogged("is not reading, dropping text") > 0;
    }));

    EXPECT_LT(m_stalls.workedDuring([this] { m_sut->stop(); }), scaled(1500ms));
}

using TelnetClientTimeTest = TelnetClientFixture;

TEST_F(TelnetClientTimeTest, close_whenTheOperatorDoesNotRead_takesLessThanASecond)
{
    sendUntilTextStaysKept();
    testsupport::StallMeter stalls;

    EXPECT_LT(stalls.workedDuring([this] { m_sut->close(); }), scaled(1s));
}

} // namespace
