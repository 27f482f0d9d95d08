#pragma once

#include "dds/core/Status.hpp"

namespace dds::sub
{

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

} // namespace dds::sub
