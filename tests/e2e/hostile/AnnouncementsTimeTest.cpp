// What somebody who claims a bridge's frame again and again can cost.
#include "bustypes/TopicNames.h"
#include "buswrappers/TopicPub.h"
#include "tests/e2e/hostile/HostileFixture.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TimeFactor.h"

#include <algorithm>
#include <chrono>

using namespace e2e;

namespace
{

using com::tallowcrest::dds_::routing::RouterMember;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicPub;
using testsupport::waitUntil;
using namespace std::chrono_literals;

/// Somebody claims the bridge's frame for this router and that, as fast as it can.
class AnnouncementsTimeTest : public HostileFixture
{
protected:
    static std::size_t countOf(const std::string& text, const std::string& part)
    {
        std::size_t count = 0;
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        {
            ++count;
        }
        return count;
    }
    std::size_t joinsBegun() const
    {
        return countOf(m_bridge->output(), "TopicMacroLevel joinRouterPartition(routerPartition '");
    }
};

} // namespace

TEST_F(AnnouncementsTimeTest, HoweverManyCostOneJoinASecondAndTheLastOneWins)
{
    startJoined();
    auto controller = connectController();
    TopicPub<RouterMember> membership(topicName(TopicName::RouterMember),
                                      dds::core::policy::DurabilityKind::TRANSIENT_LOCAL);
    membership.joinRouterPartition("");
    testsupport::StallMeter stalls;
    stalls.watch(bridge().pid());
    const auto begin = std::chrono::steady_clock::now();
    const std::size_t before = joinsBegun();

    std::uint32_t announcements = 0;
    testsupport::StallMeter::Clock::duration longest{0};
    while (announcements < 2000 || std::chrono::steady_clock::now() < begin + 3s)
    {
        ++announcements;
        membership.write({frameId, announcements % 2 == 0 ? "R1" : "R2", 1});
        if (announcements % 50 == 0)
        {
            longest = std::max(longest, stalls.workedDuring([&] { controller.portPresent(); }));
        }
    }
    const auto end = std::chrono::steady_clock::now();
    membership.write({frameId, "LAST", 1});

    ASSERT_TRUE(bridge().waitForOutput("TopicMacroLevel joinRouterPartition(routerPartition 'LAST')"));
    EXPECT_LE(joinsBegun() - before, static_cast<std::size_t>((end - begin) / 1s) + 3) << announcements;
    EXPECT_LT(longest, testsupport::scaled(1s));
    EXPECT_TRUE(waitUntil([&] { return countOf(bridge().output(), " connected to router") == joinsBegun(); }));
    EXPECT_TRUE(
        bridge().waitForOutput("TopicMacroXptOutputVideoLocalTarget joinRouterPartition(routerPartition 'LAST')"));
    EXPECT_EQ(controller.portPresent(), 0U) << "the same connection";
}
