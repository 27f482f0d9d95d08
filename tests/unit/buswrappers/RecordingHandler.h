#pragma once

#include "buswrappers/ListenerEvents.h"

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Notes the order of its calls and keeps each last status.
class RecordingHandler final : public com::tallowcrest::routing::DataReaderListenerHandler
{
public:
    void onRequestedDeadlineMissed(const dds::core::status::RequestedDeadlineMissedStatus& status) override
    {
        note("RequestedDeadlineMissed");
        m_deadline = status;
    }
    void onRequestedIncompatibleQos(const dds::core::status::RequestedIncompatibleQosStatus& status) override
    {
        note("RequestedIncompatibleQos");
        m_incompatible = status;
    }
    void onSampleRejected(const dds::core::status::SampleRejectedStatus& status) override
    {
        note("SampleRejected");
        m_rejected = status;
    }
    void onLivelinessChanged(const dds::core::status::LivelinessChangedStatus& status) override
    {
        note("LivelinessChanged");
        m_liveliness = status;
    }
    void onDataAvailable() override
    {
        note("DataAvailable");
        if (const auto during = std::exchange(m_duringData, nullptr))
        {
            during();
        }
    }
    void onSubscriptionMatched(const dds::core::status::SubscriptionMatchedStatus& status) override
    {
        note("SubscriptionMatched");
        m_matched = status;
    }
    void onSampleLost(const dds::core::status::SampleLostStatus& status) override
    {
        note("SampleLost");
        m_lost = status;
    }

    std::vector<std::string> calls() const
    {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }

    std::function<void()> m_duringData; ///< called once, while data are handled
    dds::core::status::RequestedDeadlineMissedStatus m_deadline;
    dds::core::status::RequestedIncompatibleQosStatus m_incompatible;
    dds::core::status::SampleRejectedStatus m_rejected;
    dds::core::status::LivelinessChangedStatus m_liveliness;
    dds::core::status::SubscriptionMatchedStatus m_matched;
    dds::core::status::SampleLostStatus m_lost;

private:
    void note(const std::string& call)
    {
        const std::lock_guard lock(m_mutex);
        m_calls.push_back(call);
    }

    mutable std::mutex m_mutex;
    std::vector<std::string> m_calls;
};
