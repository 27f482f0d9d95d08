// How soon a browser sees what changes.
#include "tests/e2e/panel/PanelFixture.h"
#include "tests/support/StallMeter.h"

#include <algorithm>
#include <iostream>

using namespace e2e;
using namespace std::chrono_literals;
using testsupport::EventStream;
using testsupport::StallMeter;

namespace
{

class PanelTimeTest : public PanelFixture
{};

} // namespace

TEST_F(PanelTimeTest, StatusOnTheBusReachesABrowserWithin100Milliseconds)
{
    ASSERT_NO_FATAL_FAILURE(startJoined());
    ASSERT_NO_FATAL_FAILURE(startPanel({}));
    EventStream stream(port);
    ASSERT_TRUE(stream.waitFor("event: resync\n"));
    StallMeter stalls;
    stalls.watch(panel().pid());
    std::vector<StallMeter::Clock::duration> times;
    for (std::uint32_t input = 1; input <= 50; ++input)
    {
        stream.clear();
        const auto begin = StallMeter::Clock::now();
        router().setStatus(Signal::Video, xpt(8, input));
        ASSERT_TRUE(stream.waitFor("{\"output\":8,\"input\":" + std::to_string(input) + ","));
        times.push_back(stalls.workedBetween(begin, StallMeter::Clock::now()));
    }
    std::sort(times.begin(), times.end());
    const auto milliseconds = [](auto time) { return std::chrono::duration<double, std::milli>(time).count(); };
    std::cout << "change to browser: median " << milliseconds(times[times.size() / 2]) << " ms, longest "
              << milliseconds(times.back()) << " ms\n";

    EXPECT_LT(times.back(), testsupport::scaled(100ms));
}
