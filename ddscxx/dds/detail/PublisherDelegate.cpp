#include "dds/detail/PublisherDelegate.hpp"

#include "dds/detail/Check.hpp"
#include "dds/detail/NativeQos.hpp"

#include <utility>

namespace dds::detail
{

PublisherDelegate::PublisherDelegate(std::shared_ptr<ParticipantDelegate> participant,
                                     const pub::qos::PublisherQos& qos)
    : m_participant(std::move(participant)), m_qos(qos),
      m_entity(
          check(dds_create_publisher(m_participant->handle(), NativeQos(m_qos).get(), nullptr), "creating a publisher"))
{}

} // namespace dds::detail
