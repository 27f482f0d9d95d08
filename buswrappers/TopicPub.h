#pragma once

#include "buswrappers/BusQos.h"
#include "buswrappers/Participant.h"
#include "buswrappers/SlowRelease.h"
#include "dds/core/Exception.hpp"
#include "dds/pub/DataWriter.hpp"
#include "dds/pub/Publisher.hpp"
#include "dds/topic/Topic.hpp"

#include <memory>
#include <string>
#include <utility>

namespace com::tallowcrest::routing
{

/// Writes one topic in the partition of the router that was joined last. Joining belongs to one thread; the other
/// operations are thread-safe while nobody joins. They throw the DDS interface's exceptions and do nothing before the
/// first join. Unregistered instances, and those that a replaced writer leaves behind, are not disposed.
template <typename T>
class TopicPub
{
public:
    TopicPub(std::string topicName, dds::core::policy::DurabilityKind durability)
        : m_participant(sharedParticipant()), m_topicName(std::move(topicName)), m_durability(durability)
    {}
    virtual ~TopicPub() = default;
    TopicPub(const TopicPub&) = delete;
    TopicPub& operator=(const TopicPub&) = delete;

    /// Makes topic, publisher and writer for `routerPartition` (empty: the bare prefix), also when it is the one
    /// already joined, and releases the earlier ones; when that throws, the earlier ones stay in use. The new writer
    /// holds no samples until they are written again. The earlier one still delivers what it has, without being waited
    /// for.
    virtual void joinRouterPartition(const std::string& routerPartition)
    {
        dds::topic::Topic<T> topic(m_participant, m_topicName, busTopicQos(m_participant, m_durability));
        dds::pub::Publisher publisher(m_participant, busPublisherQos(m_participant, routerPartition));
        auto earlier = std::make_shared<dds::pub::DataWriter<T>>(publisher, topic, busWriterQos(topic.qos()));
        std::swap(m_writer, *earlier);
        m_routerPartition = routerPartition;
        if (!earlier->is_nil())
        {
            m_earlierWriters.release(std::move(earlier));
        }
    }

    /// Waits until all readers that are known have noticed the writer of the last join; false when one does not within
    /// the time. What is written before may never reach a reader that still has to notice, because the bus hands no
    /// history to readers of PERSISTENT data. `nobody` names an instance that nobody uses.
    bool waitForReaders(const T& nobody, dds::core::Duration timeout)
    {
        try
        {
            // Readers confirm it like any sample, and know nothing of an instance that they have never seen.
            m_writer.unregister_instance(m_writer.register_instance(nobody));
            m_writer.wait_for_acknowledgments(timeout);
            return true;
        }
        catch (const dds::core::TimeoutError&)
        {
            return false;
        }
    }

    virtual void write(const T& sample)
    {
        if (!m_writer.is_nil())
        {
            m_writer.write(sample);
        }
    }

    /// Gives up the instance that the key fields of `key` name; readers see it lose this writer. Nothing when the
    /// instance is unknown.
    virtual void unregisterInstance(const T& key)
    {
        if (m_writer.is_nil())
        {
            return;
        }
        const dds::core::InstanceHandle instance = m_writer.lookup_instance(key);
        if (!instance.is_nil())
        {
            m_writer.unregister_instance(instance);
        }
    }

    /// Tells readers that the instance that the key fields of `key` name has ceased to exist.
    virtual void dispose(const T& key)
    {
        if (!m_writer.is_nil())
        {
            m_writer.dispose_instance(m_writer.register_instance(key));
        }
    }

    const std::string& topicName() const { return m_topicName; }
    /// The router partition joined last; empty before that.
    const std::string& routerPartition() const { return m_routerPartition; }

private:
    const dds::domain::DomainParticipant m_participant;
    const std::string m_topicName;
    const dds::core::policy::DurabilityKind m_durability;
    std::string m_routerPartition;
    SlowRelease m_earlierWriters;
    /// Holds its topic and publisher.
    dds::pub::DataWriter<T> m_writer{dds::core::null};
};

} // namespace com::tallowcrest::routing
