#pragma once

#include "dds/core/Duration.hpp"
#include "dds/core/Status.hpp"
#include "dds/detail/Entity.hpp"
#include "dds/detail/NativeListener.hpp"
#include "dds/detail/SubscriberDelegate.hpp"
#include "dds/detail/TopicDelegate.hpp"
#include "dds/sub/qos/DataReaderQos.hpp"
#include "durability/DurabilityService.h"

#include <dds/dds.h>

#include <functional>
#include <memory>
#include <mutex>
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

    /// Visits every sample that is there, of any sample, view and instance state, and removes them from the reader.
    void take(const Visitor& visit);
    /// The same, but leaves the samples in the reader, marked as read.
    void read(const Visitor& visit);

    /// Waits for what is kept of a PERSISTENT topic and adds it to the samples that are there; the next `take` merges
    /// it with what has come from live writers, so that of each instance the newest is visited. Throws TimeoutError
    /// when not all was there in time; what was is added. Returns at once for the other kinds: what TRANSIENT_LOCAL
    /// writers hold arrives on its own.
    void waitForHistoricalData(core::Duration timeout);

    /// Attaches `callback` in place of an earlier one; an empty one detaches. Waits for calls that run, so it must not
    /// be called from one. Statuses that were raised before are called for on this thread.
    void listen(ReaderCallback callback, core::status::StatusMask mask);

    core::status::SubscriptionMatchedStatus subscriptionMatchedStatus();

private:
    /// Samples in memory of our own: the bus types hold no pointers, so nothing needs to be lent.
    class Buffer;

    std::string call(const char* what) const;

    /// Visits what is in the library's reader.
    void takeNative(const Visitor& visit);
    void readNative(const Visitor& visit);
    /// Visits history and the samples that `get` visits, of each instance the newest only. Returns what was visited as
    /// valid samples.
    std::vector<com::tallowcrest::durability::KeptSample>
    visitMerged(std::vector<com::tallowcrest::durability::KeptSample> history,
                const std::function<void(const Visitor&)>& get, const Visitor& visit) const;

    const std::shared_ptr<SubscriberDelegate> m_subscriber;
    const std::shared_ptr<TopicDelegate> m_topic;
    const sub::qos::DataReaderQos m_qos;
    std::mutex m_historyMutex; ///< guards what follows
    /// Null unless PERSISTENT, and until somebody asks for history: a mere reader keeps nothing.
    std::unique_ptr<com::tallowcrest::durability::ChannelUse> m_kept;
    std::vector<com::tallowcrest::durability::KeptSample> m_history;
    bool m_isReplaying = false;
    std::unique_ptr<ReaderCallback> m_callback; ///< stays where the library's listener finds it
    const Entity m_entity;
};

} // namespace dds::detail
