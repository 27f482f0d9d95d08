#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/Status.hpp"
#include "dds/detail/Delegates.hpp"
#include "dds/detail/Entity.hpp"
#include "dds/detail/NativeListener.hpp"
#include "dds/topic/BuiltinTopic.hpp"

#include <dds/dds.h>

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace dds::detail
{

/// A reader of the DDS library, without its type: samples are the generated C structs.
class ReaderDelegate
{
public:
    /// Gets one sample, valid or not; the data is lent for the time of the call.
    using Visitor = std::function<void(const void* data, const dds_sample_info_t& info)>;

    ReaderDelegate(std::shared_ptr<SubscriberDelegate> subscriber, std::shared_ptr<TopicDelegate> topic,
                   const sub::qos::DataReaderQos& qos);
    /// Detaches the listener first, which waits for callbacks that run; none comes after that.
    ~ReaderDelegate();
    ReaderDelegate(const ReaderDelegate&) = delete;
    ReaderDelegate& operator=(const ReaderDelegate&) = delete;

    /// Visits every sample that is there, of any sample, view and instance state, but no more than `most`, and removes
    /// them from the reader.
    void take(const Visitor& visit, std::size_t most = std::numeric_limits<std::size_t>::max());
    /// The same, but leaves the samples in the reader, marked as read.
    void read(const Visitor& visit);

    /// Attaches `callback` in place of an earlier one; an empty one detaches. Waits for calls that run, so it must not
    /// be called from one. Statuses that were raised before are called for on this thread.
    void listen(ReaderCallback callback, core::status::StatusMask mask);

    core::status::SubscriptionMatchedStatus subscriptionMatchedStatus();
    std::vector<sub::MatchedPublication> matchedPublications() const;
    std::optional<sub::MatchedPublication> matchedPublication(core::InstanceHandle handle) const;

private:
    /// Samples in memory of our own.
    class Buffer;

    /// Takes and visits up to `size` at once; how many more of the `most` there may be.
    std::size_t takeOnce(std::size_t size, const Visitor& visit, std::size_t most);
    std::string call(const char* what) const;

    const std::shared_ptr<SubscriberDelegate> m_subscriber;
    const std::shared_ptr<TopicDelegate> m_topic;
    const sub::qos::DataReaderQos m_qos;
    AttachedListener<ReaderCallback> m_listener;
    const Entity m_entity;
};

} // namespace dds::detail
