#include "buswrappers/BusRound.h"

#include "buswrappers/TypedTopics.h"
#include "runtime/apartment/Apartment.h"
#include "tests/support/PacketCount.h"
#include "tests/unit/buswrappers/RouterSide.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <memory>
#include <utility>

using com::tallowcrest::apartment::Apartment;
using com::tallowcrest::apartment::DoItEvent;
using com::tallowcrest::apartment::post;
using com::tallowcrest::apartment::Round;
using com::tallowcrest::dds_::routing::MacroXptOutput;
using com::tallowcrest::routing::BusRound;
using com::tallowcrest::routing::MacroXptOutputPub;
using testsupport::packetsSent;

namespace
{

class BriefEvent final : public DoItEvent
{
public:
    explicit BriefEvent(
        std::function<void()> work, std::function<void()> afterwards = [] {})
        : m_work(std::move(work)), m_afterwards(std::move(afterwards))
    {
        setBrief();
    }
    void doIt() override { m_work(); }
    void afterRound() override { m_afterwards(); }

private:
    std::function<void()> m_work;
    std::function<void()> m_afterwards;
};

class BusRoundTest : public testing::Test
{
protected:
    BusRoundTest()
    {
        m_pub.joinRouterPartition("R1");
        EXPECT_TRUE(m_router.waitForWriters(1));
    }
    void send(std::function<void()> work) { post(m_sut, std::make_unique<BriefEvent>(std::move(work))); }
    void write(std::uint32_t output)
    {
        MacroXptOutput sample;
        sample.macroXptOutput = output;
        m_pub.write(sample);
    }

    // First, because the bridge's participant would join the router's domain if that were there already.
    MacroXptOutputPub m_pub{"TopicX", false};
    testsupport::WireDomain m_wire;
    RouterSide<MacroXptOutput> m_router{m_wire, "TopicX", "com:tallowcrest:routing:R1"};
    Apartment m_sut{"sut", std::make_shared<BusRound>()};
};

TEST_F(BusRoundTest, EventsOfARoundShareTheirPacketsWhichAreOutBeforeTheirSecondHalvesRun)
{
    constexpr std::uint16_t events = 640; // far more than packets of other threads in that time
    write(events);
    ASSERT_EQ(m_router.takeSamples(1).size(), 1U); // the writer has noticed its reader
    std::promise<long> sent;
    const long before = packetsSent();
    ASSERT_GE(before, 0);
    for (std::uint32_t i = 0; i < events; ++i)
    {
        send([this, i] { write(i); });
    }
    post(m_sut, std::make_unique<BriefEvent>([] {}, [&sent] { sent.set_value(packetsSent()); }));
    m_sut.start();

    const long after = sent.get_future().get();
    EXPECT_GT(after, before);
    EXPECT_LT(after, before + long{events} / 2);
    EXPECT_EQ(m_router.takeSamples(events).size(), events);
    m_sut.stop();
}

} // namespace
