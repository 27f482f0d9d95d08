#pragma once

#include "tests/interop/FastLibrary.h"

#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>

#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// Writes whole lines to standard output, each flushed at once, so that a test can wait for them. Thread-safe.
inline void printEventLine(const std::string& line)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << line << std::endl;
}

/// The texts of one sample.
struct SampleText
{
    std::string key;
    std::vector<std::uint32_t> keyWords; ///< the key fields as numbers, in declaration order
    std::string fields;
};

/// The instance handle that this implementation gives a message of another vendor that carries nothing but a serialised
/// key: the first 16 bytes of the payload as they came, the encoding's four bytes (plain, little endian) included.
inline eprosima::fastdds::dds::InstanceHandle_t keyMessageHandle(const std::vector<std::uint32_t>& keyWords)
{
    eprosima::fastdds::dds::InstanceHandle_t handle;
    handle.value[1] = 1;
    std::size_t at = 4;
    for (const std::uint32_t word : keyWords)
    {
        for (unsigned shift = 0; shift < 32; shift += 8)
        {
            handle.value[at++] = static_cast<unsigned char>(word >> shift);
        }
    }
    return handle;
}

/// Prints each sample of one topic as a line: "<label> <key> <fields>" for data, "<label> disposed <key>" and
/// "<label> no-writers <key>" for an instance that went. The implementation hands over no key with a sample that went,
/// only an instance handle, so the key text of each handle is remembered. It does not tell of an instance that a writer
/// of another vendor unregisters. Runs on the implementation's threads.
template <typename T>
class FastReader : public eprosima::fastdds::dds::DataReaderListener
{
public:
    using Describe = std::function<SampleText(const T&)>;

    FastReader(std::string label, Describe describe) : m_label(std::move(label)), m_describe(std::move(describe)) {}

    void on_data_available(eprosima::fastdds::dds::DataReader* reader) override
    {
        namespace fast = eprosima::fastdds::dds;
        T sample;
        fast::SampleInfo info;
        while (reader->take_next_sample(&sample, &info) == fastlib::ok)
        {
            if (info.valid_data)
            {
                const SampleText text = m_describe(sample);
                m_keys[info.instance_handle] = text.key;
                m_keys[keyMessageHandle(text.keyWords)] = text.key;
                printEventLine(m_label + " " + text.key + " " + text.fields);
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
    Describe m_describe;
    std::map<eprosima::fastdds::dds::InstanceHandle_t, std::string> m_keys;
};
