#include "bustypes/TopicNames.h"
#include "dds/detail/Entity.hpp"
#include "tests/e2e/durable/TwoBridges.h"

#include <exchange.h>

#include <list>
#include <memory>

using namespace e2e;

namespace
{

using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::topicName;

/// Two bridges, and participants with more companion writers than there can be bridges.
class CompanionCrowdTest : public TwoBridges
{
protected:
    static constexpr std::size_t participants = 4;
    static constexpr std::size_t writersOfEach = 260;

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

    std::list<dds::detail::Entity> m_crowd;
};

} // namespace

TEST_F(CompanionCrowdTest, BridgeWithoutAStoreStillGetsEverythingFromTheOther)
{
    startNear();
    DurableFixture::take(6, 8);
    beginCrowd();
    record().clear();

    startFar();

    EXPECT_TRUE(hasTarget(6, 8)) << m_far->output();
}
