#pragma once

#include "bustypes/TopicNames.h"
#include "dds/dds.hpp"
#include "tests/support/WaitUntil.h"
#include "tests/support/WireDomain.h"

#include <string>
#include <vector>

/// What another process of the router has of one topic: a reader and a writer in a partition, on a DDS stack of their
/// own. Made from plain QoS values, not with the wrappers' help.
template <typename T>
class RouterSide
{
public:
    RouterSide(const testsupport::WireDomain& wire, const std::string& topicName, const std::string& partition,
               dds::core::policy::Durability durability = dds::core::policy::Durability::TransientLocal())
        : m_topic(wire.participant(), topicName, topicQos(durability)),
          m_reader(dds::sub::Subscriber(wire.participant(), subscriberQos(partition)), m_topic, m_topic.qos()),
          m_writer(dds::pub::Publisher(wire.participant(), publisherQos(partition)), m_topic, m_topic.qos())
    {}

    dds::sub::DataReader<T>& reader() { return m_reader; }
    dds::pub::DataWriter<T>& writer() { return m_writer; }

    /// The router's own writer and reader match each other; these count the others.
    bool waitForWriters(std::int32_t count)
    {
        return testsupport::waitUntil(
            [&] { return m_reader.subscription_matched_status().current_count() == count + 1; });
    }
    bool waitForReaders(std::int32_t count)
    {
        return testsupport::waitUntil(
            [&] { return m_writer.publication_matched_status().current_count() == count + 1; });
    }

    /// Takes until `count` samples have come; fewer after 10 s.
    std::vector<dds::sub::Sample<T>> takeSamples(std::size_t count)
    {
        std::vector<dds::sub::Sample<T>> samples;
        testsupport::waitUntil([&] {
            for (const auto& sample : m_reader.take())
            {
                samples.push_back(sample);
            }
            return samples.size() >= count;
        });
        return samples;
    }

private:
    static dds::topic::qos::TopicQos topicQos(dds::core::policy::Durability durability)
    {
        dds::topic::qos::TopicQos qos;
        qos << durability << dds::core::policy::Reliability::Reliable();
        return qos;
    }
    static dds::sub::qos::SubscriberQos subscriberQos(const std::string& partition)
    {
        dds::sub::qos::SubscriberQos qos;
        qos << dds::core::policy::Partition(partition);
        return qos;
    }
    static dds::pub::qos::PublisherQos publisherQos(const std::string& partition)
    {
        dds::pub::qos::PublisherQos qos;
        qos << dds::core::policy::Partition(partition);
        return qos;
    }

    dds::topic::Topic<T> m_topic;
    dds::sub::DataReader<T> m_reader;
    dds::pub::DataWriter<T> m_writer;
};
