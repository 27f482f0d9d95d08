#include "dds/detail/SubscriberDelegate.hpp"

#include <utility>

#include "dds/detail/Check.hpp"
#include "dds/detail/NativeQos.hpp"

namespace dds::detail
{

SubscriberDelegate::SubscriberDelegate(std::shared_ptr<ParticipantDelegate> participant,
                                       const sub::qos::SubscriberQos& qos)
    : Entity(
          check(dds_create_subscriber(participant->handle(), NativeQos(qos).get(), nullptr), "creating a subscriber")),
      m_participant(std::move(participant)), m_qos(qos)
{}

} // namespace dds::detail
