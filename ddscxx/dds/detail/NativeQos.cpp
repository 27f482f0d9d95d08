#include "dds/detail/NativeQos.hpp"

#include <new>
#include <vector>

namespace dds::detail
{

namespace policy = core::policy;

static_assert(static_cast<int>(policy::DurabilityKind::VOLATILE) == DDS_DURABILITY_VOLATILE);
static_assert(static_cast<int>(policy::DurabilityKind::TRANSIENT_LOCAL) == DDS_DURABILITY_TRANSIENT_LOCAL);
static_assert(static_cast<int>(policy::DurabilityKind::TRANSIENT) == DDS_DURABILITY_TRANSIENT);
static_assert(static_cast<int>(policy::DurabilityKind::PERSISTENT) == DDS_DURABILITY_PERSISTENT);

NativeQos::NativeQos() : m_qos(dds_create_qos())
{
    if (m_qos == nullptr)
    {
        throw std::bad_alloc();
    }
}

void NativeQos::set(const policy::Durability& policy)
{
    dds_qset_durability(m_qos.get(), static_cast<dds_durability_kind_t>(policy.kind()));
}

void NativeQos::set(const policy::Reliability& policy)
{
    const auto kind =
        policy.kind() == policy::ReliabilityKind::RELIABLE ? DDS_RELIABILITY_RELIABLE : DDS_RELIABILITY_BEST_EFFORT;
    dds_qset_reliability(m_qos.get(), kind, policy.max_blocking_time().to_chrono().count());
}

void NativeQos::set(const policy::Partition& policy)
{
    std::vector<const char*> names;
    for (const std::string& name : policy.name())
    {
        names.push_back(name.c_str());
    }
    dds_qset_partition(m_qos.get(), static_cast<std::uint32_t>(names.size()), names.data());
}

void NativeQos::set(const policy::WriterDataLifecycle& policy)
{
    dds_qset_writer_data_lifecycle(m_qos.get(), policy.autodispose_unregistered_instances());
}

} // namespace dds::detail
