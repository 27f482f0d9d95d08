#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/Reference.hpp"
#include "dds/core/Status.hpp"
#include "dds/core/Time.hpp"
#include "dds/detail/Delegates.hpp"
#include "dds/detail/Entity.hpp"
#include "dds/detail/NativeListener.hpp"
#include "dds/topic/BuiltinTopic.hpp"

#include <memory>
#include <string>
#include <vector>

namespace dds::detail
{

/// A writer of the DDS library, without its type: samples are the generated C structs. Every change of every instance
/// passes through here, once, with its source timestamp. It has left the process when the call returns, or, while the
/// calling thread gathers (pub::WriteBatch), when the gathering ends.
class WriterDelegate
{
public:
    WriterDelegate(std::shared_ptr<PublisherDelegate> publisher, std::shared_ptr<TopicDelegate> topic,
                   const pub::qos::DataWriterQos& qos);
    /// Sends what another thread may still be gathering. Detaches the listener first, as a reader does.
    ~WriterDelegate();
    WriterDelegate(const WriterDelegate&) = delete;
    WriterDelegate& operator=(const WriterDelegate&) = delete;

    /// Waits at most the writer's max blocking time for a slow reader, then throws TimeoutError.
    void write(const void* sample, core::Time sourceTimestamp);
    core::InstanceHandle registerInstance(const void* sample);
    core::InstanceHandle lookupInstance(const void* sample) const;
    void unregisterInstance(core::InstanceHandle instance, core::Time sourceTimestamp);
    void disposeInstance(core::InstanceHandle instance, core::Time sourceTimestamp);

    /// Attaches `callback` in place of an earlier one; an empty one detaches. Waits for calls that run, so it must not
    /// be called from one. Statuses that were raised before are called for on this thread.
    void listen(WriterCallback callback, core::status::StatusMask mask);

    /// Waits until every reader has confirmed all that was written, else throws TimeoutError.
    void waitForAcknowledgments(core::Duration timeout);
    core::status::PublicationMatchedStatus publicationMatchedStatus();
    std::vector<pub::MatchedSubscription> matchedSubscriptions() const;

private:
    std::string call(const char* what) const;
    /// Sends what has been written, or leaves that to the calling thread's batch; hands the code on.
    dds_return_t sent(dds_return_t code) const noexcept;

    const std::shared_ptr<PublisherDelegate> m_publisher;
    const std::shared_ptr<TopicDelegate> m_topic;
    const pub::qos::DataWriterQos m_qos;
    AttachedListener<WriterCallback> m_listener;
    const Entity m_entity;
};

} // namespace dds::detail
