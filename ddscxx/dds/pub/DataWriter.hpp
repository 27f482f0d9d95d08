#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/Reference.hpp"
#include "dds/core/Status.hpp"
#include "dds/core/Time.hpp"
#include "dds/detail/Delegates.hpp"
#include "dds/detail/WriterDelegate.hpp"
#include "dds/domain/DomainParticipant.hpp"
#include "dds/topic/Topic.hpp"

#include <dds/dds.h>

#include <memory>
#include <vector>

namespace dds::pub
{

/// Groups writers under one set of partitions. A shared handle; thread-safe. Construction throws dds::core::Error
/// or one of its family.
class Publisher : public core::Reference<detail::PublisherDelegate>
{
public:
    using Reference::Reference;
    explicit Publisher(const domain::DomainParticipant& participant, const qos::PublisherQos& qos = {})
        : Reference(std::make_shared<detail::PublisherDelegate>(participant.delegate(), qos))
    {}
};

template <typename T>
class DataWriter;

/// Told that readers have come or gone, on threads of the DDS library. It must not wait, and must neither delete the
/// writer nor change its listener. `writer` is good for the time of the call only. An exception is reported in the DDS
/// library's log and goes no further. Owned by whoever attached it, who keeps it until it is detached or the writer is
/// gone. Of the standard's statuses of a writer the one that somebody asks for.
template <typename T>
class DataWriterListener
{
public:
    DataWriterListener() = default;
    virtual ~DataWriterListener() = default;
    DataWriterListener(const DataWriterListener&) = delete;
    DataWriterListener& operator=(const DataWriterListener&) = delete;

    virtual void on_publication_matched(DataWriter<T>& writer,
                                        const core::status::PublicationMatchedStatus& status) = 0;
};

/// Writes values of one type to a topic. A shared handle; its operations are thread-safe. Every operation throws
/// dds::core::Error or one of its family when the DDS library refuses; a write that a slow reader holds up for longer
/// than the writer's max blocking time throws TimeoutError. Deleting the writer unregisters its instances.
template <typename T>
class DataWriter : public core::Reference<detail::WriterDelegate>
{
public:
    using Listener = DataWriterListener<T>;
    using Reference::Reference;

    DataWriter(const Publisher& publisher, const topic::Topic<T>& topic, const qos::DataWriterQos& qos)
        : Reference(std::make_shared<detail::WriterDelegate>(publisher.delegate(), topic.delegate(), qos))
    {}

    void write(const T& sample) { write(sample, core::Time(dds_time())); }
    void write(const T& sample, const core::Time& sourceTimestamp)
    {
        const auto native = Support::toBus(sample);
        delegate()->write(addressOf(native), sourceTimestamp);
    }

    /// The handle of the instance that the key fields of `key` name; the other fields do not matter.
    core::InstanceHandle register_instance(const T& key)
    {
        const auto native = Support::toBus(key);
        return delegate()->registerInstance(addressOf(native));
    }
    /// The same, or nil when this process has never seen the instance.
    core::InstanceHandle lookup_instance(const T& key) const
    {
        const auto native = Support::toBus(key);
        return delegate()->lookupInstance(addressOf(native));
    }

    /// This writer no longer keeps the instance up to date. Disposes it too when the writer's lifecycle says so.
    void unregister_instance(const core::InstanceHandle& instance)
    {
        delegate()->unregisterInstance(instance, core::Time(dds_time()));
    }

    /// The instance has ceased to exist.
    void dispose_instance(const core::InstanceHandle& instance)
    {
        delegate()->disposeInstance(instance, core::Time(dds_time()));
    }

    /// Returns when every reader has confirmed all that was written; throws TimeoutError when one does not in time.
    void wait_for_acknowledgments(const core::Duration& timeout) { delegate()->waitForAcknowledgments(timeout); }

    /// Attaches `listener` for the statuses of `mask`, in place of an earlier one; null detaches. A status that was
    /// raised earlier and not yet looked at is called for at once, on this thread. Not from a listener's own call.
    void listener(Listener* listener, const core::status::StatusMask& mask)
    {
        if (listener == nullptr)
        {
            delegate()->listen(nullptr, mask);
            return;
        }
        // A handle that owns nothing: were it the last one, the writer would be deleted inside its own callback.
        DataWriter<T> writer(std::shared_ptr<detail::WriterDelegate>(std::shared_ptr<void>(), delegate().get()));
        delegate()->listen(
            [listener, writer](const core::status::PublicationMatchedStatus& status) mutable {
                listener->on_publication_matched(writer, status);
            },
            mask);
    }
    core::status::PublicationMatchedStatus publication_matched_status()
    {
        return delegate()->publicationMatchedStatus();
    }
    /// The readers that are known now.
    std::vector<MatchedSubscription> matched_subscriptions() const { return delegate()->matchedSubscriptions(); }

private:
    using Support = topic::topic_type_support<T>;

    static const void* addressOf(const typename Support::BusType& native) { return &native; }
};

} // namespace dds::pub
