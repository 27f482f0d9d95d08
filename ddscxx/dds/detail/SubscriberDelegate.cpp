#include "dds/detail/SubscriberDelegate.hpp"

#include "dds/detail/Check.hpp"
#include "dds/detail/NativeQos.hpp"

#include <utility>

namespace dds::detail
{

SubscriberDelegate::SubscriberDelegate(std::shared_ptr<ParticipantDelegate> participant,
                                       const sub::qos::SubscriberQos& qos)
    : m_participant(std::move(participant)), m_qos(qos),
      m_entity(check(dds_create_subscriber(m_participant->handle(), NativeQos(m_qos).get(), nullptr),
                     "creating a subscriber"))
{}

} // namespace dds::detail
