#include "dds/detail/ParticipantDelegate.hpp"

#include "dds/core/Exception.hpp"
#include "dds/detail/Check.hpp"

namespace dds::detail
{

ParticipantDelegate::ParticipantDelegate(std::uint32_t domainId)
    : m_entity(check(dds_create_participant(domainId, nullptr, nullptr), "creating the DDS domain participant"))
{}

com::tallowcrest::durability::DurabilityService& ParticipantDelegate::durability()
{
    using com::tallowcrest::durability::BusError;
    using com::tallowcrest::durability::DurabilityService;
    const std::lock_guard lock(m_mutex);
    if (m_durability == nullptr)
    {
        try
        {
            m_durability = std::make_unique<DurabilityService>(handle(), m_started);
        }
        catch (const BusError& error)
        {
            throw core::Error(error.what());
        }
    }
    return *m_durability;
}

} // namespace dds::detail
