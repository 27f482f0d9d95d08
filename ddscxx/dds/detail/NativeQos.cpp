#include "dds/detail/NativeQos.hpp"

#include <memory>
#include <new>
#include <string>
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

void NativeQos::set(const policy::History& policy)
{
    const auto kind = policy.kind() == policy::HistoryKind::KEEP_ALL ? DDS_HISTORY_KEEP_ALL : DDS_HISTORY_KEEP_LAST;
    dds_qset_history(m_qos.get(), kind, policy.depth());
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

void NativeQos::set(const policy::UserData& policy)
{
    dds_qset_userdata(m_qos.get(), policy.value().data(), policy.value().size());
}

void NativeQos::set(const policy::IgnoreLocal& policy)
{
    dds_qset_ignorelocal(m_qos.get(), policy.ignores() ? DDS_IGNORELOCAL_PARTICIPANT : DDS_IGNORELOCAL_NONE);
}

void gatherSamples([[maybe_unused]] dds_qos_t& qos)
{
#ifdef KORABRIDGE_HAS_WRITER_BATCHING
    dds_qset_writer_batching(&qos, true);
#else
    dds_write_set_batch(true);
#endif
}

policy::Durability durabilityOf(const dds_qos_t& qos)
{
    dds_durability_kind_t kind = DDS_DURABILITY_VOLATILE;
    static_cast<void>(dds_qget_durability(&qos, &kind));
    return policy::Durability(static_cast<policy::DurabilityKind>(kind));
}

policy::UserData userDataOf(const dds_qos_t& qos)
{
    void* bytes = nullptr;
    std::size_t size = 0;
    if (!dds_qget_userdata(&qos, &bytes, &size) || bytes == nullptr)
    {
        return {};
    }
    const std::unique_ptr<void, decltype(&dds_free)> owned(bytes, dds_free);
    return policy::UserData(std::string(static_cast<const char*>(bytes), size));
}

} // namespace dds::detail
