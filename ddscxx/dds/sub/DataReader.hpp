#pragma once

#include "dds/core/EntityQos.hpp"
#include "dds/core/Reference.hpp"
#include "dds/core/Status.hpp"
#include "dds/detail/Delegates.hpp"
#include "dds/detail/NativeStatus.hpp"
#include "dds/detail/ReaderDelegate.hpp"
#include "dds/domain/DomainParticipant.hpp"
#include "dds/sub/Sample.hpp"
#include "dds/topic/Topic.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

namespace dds::sub
{

/// Groups readers under one set of partitions. A shared handle; thread-safe. Construction throws dds::core::Error
/// or one of its family.
class Subscriber : public core::Reference<detail::SubscriberDelegate>
{
public:
    using Reference::Reference;
    explicit Subscriber(const domain::DomainParticipant& participant, const qos::SubscriberQos& qos = {})
        : Reference(std::make_shared<detail::SubscriberDelegate>(participant.delegate(), qos))
    {}
};

template <typename T>
class DataReader;

/// Told about a reader's statuses, on threads of the DDS library; for a writer of the same process that is the thread
/// that writes. It must not wait, and must neither delete the reader nor change its listener. `reader` is good for the
/// time of the call only. An exception is reported in the DDS library's log and goes no further. Owned by whoever
/// attached it, who keeps it until it is detached or the reader is gone.
template <typename T>
class DataReaderListener
{
public:
    DataReaderListener() = default;
    virtual ~DataReaderListener() = default;
    DataReaderListener(const DataReaderListener&) = delete;
    DataReaderListener& operator=(const DataReaderListener&) = delete;

    virtual void on_requested_deadline_missed(DataReader<T>& reader,
                                              const core::status::RequestedDeadlineMissedStatus& status) = 0;
    virtual void on_requested_incompatible_qos(DataReader<T>& reader,
                                               const core::status::RequestedIncompatibleQosStatus& status) = 0;
    virtual void on_sample_rejected(DataReader<T>& reader, const core::status::SampleRejectedStatus& status) = 0;
    virtual void on_liveliness_changed(DataReader<T>& reader, const core::status::LivelinessChangedStatus& status) = 0;
    virtual void on_data_available(DataReader<T>& reader) = 0;
    virtual void on_subscription_matched(DataReader<T>& reader,
                                         const core::status::SubscriptionMatchedStatus& status) = 0;
    virtual void on_sample_lost(DataReader<T>& reader, const core::status::SampleLostStatus& status) = 0;

private:
    friend class DataReader<T>;

    // One for each status that a reader can have: so none is forgotten.
    using Reader = DataReader<T>;
    void tell(Reader& r, const core::status::RequestedDeadlineMissedStatus& s) { on_requested_deadline_missed(r, s); }
    void tell(Reader& r, const core::status::RequestedIncompatibleQosStatus& s) { on_requested_incompatible_qos(r, s); }
    void tell(Reader& r, const core::status::SampleRejectedStatus& s) { on_sample_rejected(r, s); }
    void tell(Reader& r, const core::status::LivelinessChangedStatus& s) { on_liveliness_changed(r, s); }
    void tell(Reader& r, const core::status::DataAvailableStatus&) { on_data_available(r); }
    void tell(Reader& r, const core::status::SubscriptionMatchedStatus& s) { on_subscription_matched(r, s); }
    void tell(Reader& r, const core::status::SampleLostStatus& s) { on_sample_lost(r, s); }
};

/// One that does nothing, for who wants to know of some statuses only.
template <typename T>
class NoOpDataReaderListener : public DataReaderListener<T>
{
    using Reader = DataReader<T>;
    void on_requested_deadline_missed(Reader&, const core::status::RequestedDeadlineMissedStatus&) override {}
    void on_requested_incompatible_qos(Reader&, const core::status::RequestedIncompatibleQosStatus&) override {}
    void on_sample_rejected(Reader&, const core::status::SampleRejectedStatus&) override {}
    void on_liveliness_changed(Reader&, const core::status::LivelinessChangedStatus&) override {}
    void on_data_available(Reader&) override {}
    void on_subscription_matched(Reader&, const core::status::SubscriptionMatchedStatus&) override {}
    void on_sample_lost(Reader&, const core::status::SampleLostStatus&) override {}
};

/// Reads values of one type from a topic. A shared handle; `take` and `read` are thread-safe, attaching a listener
/// belongs to the owner. Deleting the reader waits for callbacks that run; none comes after that. Every operation
/// throws dds::core::Error or one of its family when the DDS library refuses.
template <typename T>
class DataReader : public core::Reference<detail::ReaderDelegate>
{
public:
    using Listener = DataReaderListener<T>;
    using Reference::Reference;

    DataReader(const Subscriber& subscriber, const topic::Topic<T>& topic, const qos::DataReaderQos& qos)
        : Reference(std::make_shared<detail::ReaderDelegate>(subscriber.delegate(), topic.delegate(), qos))
    {}

    /// Says of which samples there shall be a take.
    class Selector
    {
    public:
        explicit Selector(DataReader& reader) : m_reader(reader) {}

        Selector& max_samples(std::uint32_t most)
        {
            m_most = most;
            return *this;
        }
        LoanedSamples<T> take()
        {
            std::vector<Sample<T>> samples;
            m_reader.delegate()->take(collectInto(samples), m_most);
            return LoanedSamples<T>(std::move(samples));
        }

    private:
        DataReader& m_reader;
        std::size_t m_most = std::numeric_limits<std::size_t>::max();
    };
    Selector select() { return Selector(*this); }

    /// All samples that are there, of any sample, view and instance state; they leave the reader.
    LoanedSamples<T> take() { return select().take(); }
    /// The same, but the samples stay.
    LoanedSamples<T> read()
    {
        std::vector<Sample<T>> samples;
        delegate()->read(collectInto(samples));
        return LoanedSamples<T>(std::move(samples));
    }

    /// Attaches `listener` for the statuses of `mask`, in place of an earlier one; null detaches. A status that was
    /// raised earlier and not yet looked at is called for at once, on this thread. Not from a listener's own call.
    void listener(Listener* listener, const core::status::StatusMask& mask)
    {
        if (listener == nullptr)
        {
            delegate()->listen(nullptr, mask);
            return;
        }
        // The handle that the listener gets owns nothing: were it the last one, the reader would be deleted inside its
        // own callback, and that waits for the callback to end.
        DataReader<T> reader(std::shared_ptr<detail::ReaderDelegate>(std::shared_ptr<void>(), delegate().get()));
        delegate()->listen(
            [listener, reader](const core::status::ReaderStatus& status) mutable {
                std::visit([&](const auto& which) { listener->tell(reader, which); }, status);
            },
            mask);
    }

    core::status::SubscriptionMatchedStatus subscription_matched_status()
    {
        return delegate()->subscriptionMatchedStatus();
    }
    /// The writers that are known now.
    std::vector<MatchedPublication> matched_publications() const { return delegate()->matchedPublications(); }
    /// One of them; none when it has gone.
    std::optional<MatchedPublication> matched_publication(const core::InstanceHandle& handle) const
    {
        return delegate()->matchedPublication(handle);
    }

private:
    using Support = topic::topic_type_support<T>;

    static detail::ReaderDelegate::Visitor collectInto(std::vector<Sample<T>>& samples)
    {
        return [&samples](const void* data, const dds_sample_info_t& info) {
            samples.emplace_back(Support::fromBus(*static_cast<const typename Support::BusType*>(data)),
                                 detail::fromNative(info));
        };
    }
};

} // namespace dds::sub
