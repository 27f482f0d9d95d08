#pragma once

#include "bustypes/TypeSupport.h"
#include "buswrappers/BusQos.h"
#include "buswrappers/Participant.h"
#include "dds/core/Exception.hpp"
#include "dds/pub/DataWriter.hpp"
#include "dds/topic/Topic.hpp"

#include <chrono>
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
    /// Waits until readers have what was written, for at most a second.
    virtual ~TopicPub()
    {
        try
        {
            if (!m_writer.is_nil())
            {
                m_writer.wait_for_acknowledgments(std::chrono::seconds(1));
            }
        }
        catch (const dds::core::Exception&)
        {
            // A reader that has hung or gone will not have the last of it.
        }
    }
    TopicPub(const TopicPub&) = delete;
    TopicPub& operator=(const TopicPub&) = delete;

    /// Makes topic, publisher and writer for `routerPartition` (empty: the bare prefix), also when it is the one
    /// already joined, and releases the earlier ones; when that throws, the earlier ones stay in use. The new writer
    /// holds no samples until they are written again. What readers have not confirmed of the earlier one is lost.
    virtual void joinRouterPartition(const std::string& routerPartition)
    {
        dds::topic::Topic<T> topic(m_participant, m_topicName, busTopicQos(m_participant, m_durability));
        dds::pub::Publisher publisher(m_participant, busPublisherQos(m_participant, routerPartition));
        m_writer = dds::pub::DataWriter<T>(publisher, topic, busWriterQos(topic.qos()));
        m_routerPartition = routerPartition;
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

protected:
    const dds::domain::DomainParticipant& participant() const { return m_participant; }
    dds::core::policy::DurabilityKind durability() const { return m_durability; }
    /// Nil before the first join.
    dds::pub::DataWriter<T>& writer() { return m_writer; }

private:
    const dds::domain::DomainParticipant m_participant;
    const std::string m_topicName;
    const dds::core::policy::DurabilityKind m_durability;
    std::string m_routerPartition;
    /// Holds its topic and publisher.
    dds::pub::DataWriter<T> m_writer{dds::core::null};
};

} // namespace com::tallowcrest::routing
