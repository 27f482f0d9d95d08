#pragma once

#include "tests/interop/EventLines.h"

#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>

#include <functional>
#include <map>
#include <string>

/// Prints each sample of one topic as a line: "<label> <fields>" for data, "<label> disposed <key>" and
/// "<label> no-writers <key>" for an instance that went. The implementation hands over no key with a sample that went,
/// only an instance handle, so the key text of each handle is remembered. Runs on the implementation's threads.
template <typename T>
class FastReader : public eprosima::fastdds::dds::DataReaderListener
{
public:
    using Text = std::function<std::string(const T&)>;

    /// `key` and `fields` make the texts of one sample.
    FastReader(std::string label, Text key, Text fields) :
        m_label(std::move(label)), m_key(std::move(key)), m_fields(std::move(fields))
    {
    }

    void on_data_available(eprosima::fastdds::dds::DataReader* reader) override
    {
        namespace fast = eprosima::fastdds::dds;
        T sample;
        fast::SampleInfo info;
        while (reader->take_next_sample(&sample, &info) == eprosima::fastrtps::types::ReturnCode_t::RETCODE_OK)
        {
            if (info.valid_data)
            {
                m_keys[info.instance_handle] = m_key(sample);
                printEventLine(m_label + " " + m_key(sample) + " " + m_fields(sample));
                continue;
            }
            const auto known = m_keys.find(info.instance_handle);
            const std::string key = known == m_keys.end() ? "unknown-instance" : known->second;
            const bool disposed = info.instance_state == fast::NOT_ALIVE_DISPOSED_INSTANCE_STATE;
            printEventLine(m_label + (disposed ? " disposed " : " no-writers ") + key);
        }
    }

    void on_subscription_matched(eprosima::fastdds::dds::DataReader*,
                                 const eprosima::fastdds::dds::SubscriptionMatchedStatus& status) override
    {
        printEventLine(m_label + " writers " + std::to_string(status.current_count));
    }

    void on_requested_incompatible_qos(eprosima::fastdds::dds::DataReader*,
                                       const eprosima::fastdds::dds::RequestedIncompatibleQosStatus& status) override
    {
        printEventLine(m_label + " incompatible-qos policy " + std::to_string(status.last_policy_id));
    }

private:
    std::string m_label;
    Text m_key;
    Text m_fields;
    std::map<eprosima::fastrtps::rtps::InstanceHandle_t, std::string> m_keys;
};
