#include "dds/detail/PublisherDelegate.hpp"

#include <utility>

#include "dds/detail/Check.hpp"
#include "dds/detail/NativeQos.hpp"

namespace dds::detail
{

PublisherDelegate::PublisherDelegate(std::shared_ptr<ParticipantDelegate> participant,
                                     const pub::qos::PublisherQos& qos)
    : Entity(check(dds_create_publisher(participant->handle(), NativeQos(qos).get(), nullptr), "creating a publisher")),
      m_participant(std::move(participant)), m_qos(qos)
{}

} // namespace dds::detail
