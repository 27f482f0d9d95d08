// What is promised to a controller that sends several requests at once.
#include "koraclient/RequestEncoder.h"
#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TimeFactor.h"

#include <algorithm>
#include <vector>

using namespace e2e;
using namespace std::chrono_literals;
using testsupport::TcpSocket;

namespace
{

class SegmentTimeTest : public BridgeFixture, public testing::WithParamInterface<std::size_t>
{};

constexpr std::size_t answerBytes = 24;

} // namespace

TEST_P(SegmentTimeTest, NoAnswerWaitsForAnAcknowledgement)
{
    startJoined();
    const auto socket = TcpSocket::connect(koraPort);
    ASSERT_TRUE(socket);
    const std::string request = testsupport::asText(koraclient::RequestEncoder(1).portPresent());
    // A young connection acknowledges at once.
    for (int i = 0; i < 100; ++i)
    {
        socket->send(request);
        ASSERT_EQ(socket->receive(answerBytes).size(), answerBytes);
    }
    std::string together;
    for (std::size_t i = 0; i < GetParam(); ++i)
    {
        together += request;
    }
    testsupport::StallMeter stalls;
    stalls.watch(bridge().pid());
    std::vector<testsupport::StallMeter::Clock::duration> times;
    for (int i = 0; i < 31; ++i)
    {
        const auto begin = testsupport::StallMeter::Clock::now();
        socket->send(together);
        ASSERT_EQ(socket->receive(GetParam() * answerBytes).size(), GetParam() * answerBytes);
        times.push_back(stalls.workedBetween(begin, testsupport::StallMeter::Clock::now()));
    }
    std::nth_element(times.begin(), times.begin() + 15, times.end());

    // The acknowledgement takes 40 ms.
    EXPECT_LT(times[15], testsupport::scaled(5ms));
}

INSTANTIATE_TEST_SUITE_P(Requests, SegmentTimeTest, testing::Values(2, 16));
