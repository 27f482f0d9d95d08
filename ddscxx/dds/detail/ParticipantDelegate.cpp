#include "dds/detail/ParticipantDelegate.hpp"

#include "dds/detail/Check.hpp"

namespace dds::detail
{

ParticipantDelegate::ParticipantDelegate(std::uint32_t domainId)
    : m_entity(check(dds_create_participant(domainId, nullptr, nullptr), "creating the DDS domain participant"))
{}

} // namespace dds::detail
