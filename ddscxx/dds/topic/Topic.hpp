#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/Reference.hpp"
#include "dds/detail/Delegates.hpp"
#include "dds/domain/DomainParticipant.hpp"

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace dds::topic
{

/// What the DDS interface needs to know of a data type: its C struct `BusType`, its `descriptor()`, and the conversions
/// `toBus` (a `BusType` or what derives from it, which may own what it points to) and `fromBus`. The namespace of the
/// type says which class that is, with a declaration
///   `TypeSupport<T> type_support_of(std::type_identity<T>)`.
template <typename T>
using topic_type_support = decltype(type_support_of(std::type_identity<T>()));

/// A named stream of values of one type on the bus. Made without a listener and with an empty status mask. The same
/// name can be made again on a participant while the first lives, but with the same QoS only: otherwise
/// InconsistentPolicyError, whose text says so. A shared handle; thread-safe.
template <typename T>
class Topic : public core::Reference<detail::TopicDelegate>
{
public:
    using Reference::Reference;

    Topic(const domain::DomainParticipant& participant, const std::string& name, const qos::TopicQos& qos)
        : Reference(std::make_shared<detail::TopicDelegate>(participant.delegate(), Support::descriptor(), name, qos))
    {}

    /// The same, whose readers never see a sample with data that `isWanted` refuses, and make no instance for it. It is
    /// called on threads of the DDS library, several at a time, until the last reader of this topic has been deleted.
    /// An empty one refuses none.
    Topic(const domain::DomainParticipant& participant, const std::string& name, const qos::TopicQos& qos,
          std::function<bool(const T&)> isWanted)
        : Reference(std::make_shared<detail::TopicDelegate>(participant.delegate(), Support::descriptor(), name, qos,
                                                            filterOf(std::move(isWanted))))
    {}

    /// The same, for who judges by the writer too, which its handle names.
    Topic(const domain::DomainParticipant& participant, const std::string& name, const qos::TopicQos& qos,
          std::function<bool(const T&, core::InstanceHandle)> isWanted)
        : Reference(std::make_shared<detail::TopicDelegate>(participant.delegate(), Support::descriptor(), name, qos,
                                                            filterOf(std::move(isWanted))))
    {}

    qos::TopicQos qos() const { return delegate()->qos(); }
    domain::DomainParticipant participant() const { return domain::DomainParticipant(delegate()->participant()); }

private:
    using Support = topic_type_support<T>;

    static detail::TopicDelegate::Filter filterOf(std::function<bool(const T&)> isWanted)
    {
        if (!isWanted)
        {
            return nullptr;
        }
        return [isWanted = std::move(isWanted)](const void* sample, core::InstanceHandle) {
            return isWanted(Support::fromBus(*static_cast<const typename Support::BusType*>(sample)));
        };
    }
    static detail::TopicDelegate::Filter filterOf(std::function<bool(const T&, core::InstanceHandle)> isWanted)
    {
        return [isWanted = std::move(isWanted)](const void* sample, core::InstanceHandle writer) {
            return isWanted(Support::fromBus(*static_cast<const typename Support::BusType*>(sample)), writer);
        };
    }
};

} // namespace dds::topic
