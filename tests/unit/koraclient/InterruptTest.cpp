// A wait for the bridge that somebody else ends.
#include "koraclient/Errors.h"
#include "koraclient/KoraClient.h"
#include "runtime/util/WakeEvent.h"
#include "tests/fakes/FakeBridge.h"
#include "tests/fakes/UnattendedListener.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <optional>
#include <vector>

using namespace koraclient;
using namespace std::chrono_literals;
using com::tallowcrest::util::UniqueFd;
using com::tallowcrest::util::WakeEvent;

namespace
{

/// Only a wait that nobody ends takes as long.
constexpr auto patient = 10s;
constexpr auto brief = 50ms;
constexpr auto atOnce = 500ms;

} // namespace

TEST(Interrupt, GivenBridgeThatIsSilentEndsTheWaitAtOnceAndEachLaterOne)
{
    FakeBridge bridge([](const Message&, std::uint32_t) { return FakeReply{}; });
    const WakeEvent interrupt;
    KoraClient sut("127.0.0.1", bridge.port(), patient, &interrupt);
    const auto take = std::async(std::launch::async, [&] { EXPECT_THROW((void)sut.take({{}}), Interrupted); });
    ASSERT_TRUE(testsupport::waitUntil([&] { return bridge.requests().size() == 1; }));
    ASSERT_EQ(take.wait_for(0s), std::future_status::timeout);

    interrupt.signal();

    EXPECT_EQ(take.wait_for(testsupport::scaled(atOnce)), std::future_status::ready);
    take.wait();
    EXPECT_TRUE(testsupport::endsInTime([&] { EXPECT_THROW((void)sut.take({{}}), Interrupted); }, atOnce));
}

TEST(Interrupt, GivenBridgeThatDoesNotAcceptEndsTheWaitAtOnce)
{
    const UnattendedListener listener;
    const auto connect = [&](std::chrono::milliseconds timeout, const WakeEvent* interrupt) {
        return std::make_unique<KoraClient>("127.0.0.1", listener.port, timeout, interrupt);
    };
    std::vector<std::unique_ptr<KoraClient>> waiting;
    EXPECT_THROW(
        {
            for (int i = 0; i < 20; ++i)
            {
                waiting.push_back(connect(brief, nullptr));
            }
        },
        ConnectError);
    const WakeEvent interrupt;
    interrupt.signal();

    EXPECT_TRUE(
        testsupport::endsInTime([&] { EXPECT_THROW((void)connect(patient, &interrupt), Interrupted); }, atOnce));
}

TEST(Interrupt, GivenRequestOnItsWayTakesBackWhatMayNotHaveArrived)
{
    const UnattendedListener listener;
    const WakeEvent interrupt;
    std::optional<KoraClient> sut(std::in_place, "127.0.0.1", listener.port, patient, &interrupt);
    const UniqueFd peer = listener.accept();
    interrupt.signal();

    EXPECT_THROW((void)sut->take({{}}), Interrupted);
    sut.reset();

    EXPECT_TRUE(isTakenBack(peer));
}

TEST(Interrupt, GivenNoneTheBridgeAnswersAsEver)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x80000050, {1, 0}), false};
    });
    const WakeEvent interrupt;
    KoraClient sut("127.0.0.1", bridge.port(), patient, &interrupt);

    EXPECT_EQ(sut.take({{}}), (std::vector<std::uint32_t>{0}));
}
