#include "bustypes/TopicNames.h"
#include "buswrappers/TopicPub.h"
#include "dds/detail/Entity.hpp"
#include "tests/e2e/durable/DurableFixture.h"
#include "tests/e2e/durable/FrameNetwork.h"

#include <exchange.h>

#include <list>
#include <memory>

using namespace e2e;

namespace
{

using com::tallowcrest::dds_::routing::RouterMember;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicPub;
using testsupport::ChildProcess;

/// Two bridges in frames of their own, and participants with more companion writers than there can be bridges.
class CompanionCrowdTest : private FrameNetwork, public DurableFixture
{
protected:
    static constexpr std::size_t participants = 4;
    static constexpr std::size_t writersOfEach = 260;

    void SetUp() override
    {
        if (!problem().empty())
        {
            GTEST_SKIP() << problem();
        }
        router().announce();
        m_memberships.joinRouterPartition("");
        m_memberships.write({18, "R1", 1});
    }
    std::map<std::string, std::string> environment(const char* store) const
    {
        return {{"KORABRIDGE_DURABLE_STORE", (directory() / store).string()}};
    }
    void startNear()
    {
        m_bridge = std::make_unique<ChildProcess>(testsupport::programPath("korabridge"),
                                                  std::vector<std::string>{"18", "4", "Near", "beside the router"},
                                                  ChildProcess::Options{environment("near.db"), false});
        waitForJoin();
    }
    void startFar()
    {
        m_far = startThere(testsupport::programPath("korabridge"), {"17", "3", "Far", "behind a cable"},
                           environment("far.db"));
    }
    /// Writers alone: that is all it takes.
    void beginCrowd()
    {
        const std::unique_ptr<dds_qos_t, decltype(&dds_delete_qos)> qos(dds_create_qos(), &dds_delete_qos);
        dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
        dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, DDS_MSECS(100));
        dds_qset_partition1(qos.get(), com::tallowcrest::routing::partitionName("R1").c_str());
        const std::string topicOfStatus = std::string(topicName(TopicName::MacroXptOutputVideoTarget)) + "_durable";
        for (std::size_t i = 0; i < participants; ++i)
        {
            const dds_entity_t participant =
                m_crowd.emplace_back(dds_create_participant(DDS_DOMAIN_DEFAULT, nullptr, nullptr)).handle();
            ASSERT_GT(participant, 0);
            const dds_entity_t topic = dds_create_topic(participant, &com_tallowcrest_durability__ChannelStatus_desc,
                                                        topicOfStatus.c_str(), nullptr, nullptr);
            for (std::size_t j = 0; j < writersOfEach; ++j)
            {
                ASSERT_GT(dds_create_writer(participant, topic, qos.get(), nullptr), 0);
            }
        }
    }

    TopicPub<RouterMember> m_memberships{topicName(TopicName::RouterMember),
                                         dds::core::policy::DurabilityKind::TRANSIENT_LOCAL};
    std::list<dds::detail::Entity> m_crowd;
    std::unique_ptr<ChildProcess> m_far;
};

} // namespace

TEST_F(CompanionCrowdTest, BridgeWithoutAStoreStillGetsEverythingFromTheOther)
{
    startNear();
    take(6, 8);
    beginCrowd();
    record().clear();

    startFar();

    ASSERT_TRUE(m_far->waitForOutput("Port: 5194", std::chrono::seconds(60))) << m_far->output();
    EXPECT_TRUE(hasTarget(6, 8)) << m_far->output();
}
