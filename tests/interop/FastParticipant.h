#pragma once

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/topic/TypeSupport.hpp>

#include <memory>
#include <string>

/// A domain participant of the other DDS implementation that talks over the loopback interface alone: unicast discovery
/// on the ports of 61 participants of 127.0.0.1, no multicast, no shared memory. Owns every entity made through it.
/// Everything is RELIABLE and TRANSIENT_LOCAL, the last sample of each of any number of instances. Owned by one thread;
/// a failure to create something throws std::runtime_error.
class FastParticipant
{
public:
    explicit FastParticipant(int domainId);
    ~FastParticipant();
    FastParticipant(const FastParticipant&) = delete;
    FastParticipant& operator=(const FastParticipant&) = delete;

    /// The writer lives as long as this object. Unregistering an instance does not dispose of it.
    eprosima::fastdds::dds::DataWriter&
    createWriter(const std::string& topicName, eprosima::fastdds::dds::TypeSupport type, const std::string& partition);
    /// The reader lives as long as this object; so must `listener`.
    eprosima::fastdds::dds::DataReader& createReader(const std::string& topicName,
                                                     eprosima::fastdds::dds::TypeSupport type,
                                                     const std::string& partition,
                                                     eprosima::fastdds::dds::DataReaderListener& listener);

private:
    eprosima::fastdds::dds::Topic& createTopic(const std::string& topicName, eprosima::fastdds::dds::TypeSupport type);

    eprosima::fastdds::dds::DomainParticipant* m_participant = nullptr;
};
