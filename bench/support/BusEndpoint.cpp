#include "bench/support/BusEndpoint.h"

#include "bustypes/TopicNames.h"
#include "dds/detail/NativeQos.hpp"

#include <memory>

namespace bench
{
namespace
{

using dds::detail::check;

struct DeleteQos
{
    void operator()(dds_qos_t* qos) const { dds_delete_qos(qos); }
};
using Qos = std::unique_ptr<dds_qos_t, DeleteQos>;

Qos partitionQos(const std::string& routerPartition)
{
    Qos qos(dds_create_qos());
    dds_qset_partition1(qos.get(), com::tallowcrest::routing::partitionName(routerPartition).c_str());
    return qos;
}

} // namespace

dds_qos_t* busQos(dds_durability_kind_t durability)
{
    dds_qos_t* const qos = dds_create_qos();
    dds_qset_durability(qos, durability);
    dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_MSECS(100));
    return qos;
}

dds_entity_t makeWriter(dds_entity_t participant, const dds_topic_descriptor_t& type, const char* topic,
                        const std::string& routerPartition, dds_durability_kind_t durability, Sending sending)
{
    const Qos qos(busQos(durability));
    const dds_entity_t topicEntity =
        check(dds_create_topic(participant, &type, topic, qos.get(), nullptr), "creating a topic");
    const dds_entity_t publisher =
        check(dds_create_publisher(participant, partitionQos(routerPartition).get(), nullptr), "creating a publisher");
    dds_qset_writer_data_lifecycle(qos.get(), false);
    if (sending == Sending::Together)
    {
        dds::detail::gatherSamples(*qos);
    }
    return check(dds_create_writer(publisher, topicEntity, qos.get(), nullptr), "creating a writer");
}

dds_entity_t makeReader(dds_entity_t participant, const dds_topic_descriptor_t& type, const char* topic,
                        const std::string& routerPartition, dds_durability_kind_t durability,
                        const dds_listener_t* listener)
{
    const Qos qos(busQos(durability));
    const dds_entity_t topicEntity =
        check(dds_create_topic(participant, &type, topic, qos.get(), nullptr), "creating a topic");
    const dds_entity_t subscriber = check(
        dds_create_subscriber(participant, partitionQos(routerPartition).get(), nullptr), "creating a subscriber");
    return check(dds_create_reader(subscriber, topicEntity, qos.get(), listener), "creating a reader");
}

} // namespace bench
