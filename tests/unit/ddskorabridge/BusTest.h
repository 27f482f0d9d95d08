#pragma once

#include "buswrappers/BusQos.h"
#include "dds/dds.hpp"
#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

/// Another party's writer in a router's partition, on a participant of its own.
template <typename T>
class PeerWriter
{
public:
    PeerWriter(const dds::domain::DomainParticipant& participant, const std::string& topicName,
               const std::string& routerPartition,
               dds::core::policy::DurabilityKind durability = dds::core::policy::DurabilityKind::TRANSIENT_LOCAL)
        : m_writer(makeWriter(participant, topicName, routerPartition, durability))
    {}

    void write(const T& sample) { m_writer.write(sample); }
    void dispose(const T& key) { m_writer.dispose_instance(m_writer.register_instance(key)); }
    /// Goes away without a word, as a process that ends.
    void close() { m_writer = dds::pub::DataWriter<T>(dds::core::null); }

private:
    static dds::pub::DataWriter<T> makeWriter(const dds::domain::DomainParticipant& participant,
                                              const std::string& topicName, const std::string& routerPartition,
                                              dds::core::policy::DurabilityKind durability)
    {
        namespace routing = com::tallowcrest::routing;
        const dds::topic::Topic<T> topic(participant, topicName, routing::busTopicQos(participant, durability));
        const dds::pub::Publisher publisher(participant, routing::busPublisherQos(participant, routerPartition));
        return {publisher, topic, routing::busWriterQos(topic.qos())};
    }

    dds::pub::DataWriter<T> m_writer;
};

/// Another party's reader in a router's partition, on a participant of its own; collects the valid samples.
template <typename T>
class PeerReader
{
public:
    PeerReader(const dds::domain::DomainParticipant& participant, const std::string& topicName,
               const std::string& routerPartition,
               dds::core::policy::DurabilityKind durability = dds::core::policy::DurabilityKind::TRANSIENT_LOCAL)
        : m_reader(makeReader(participant, topicName, routerPartition, durability))
    {}

    /// Every valid sample since the last call.
    std::vector<T> take()
    {
        std::vector<T> samples;
        for (const auto& sample : m_reader.take())
        {
            if (sample.info().valid())
            {
                samples.push_back(sample.data());
            }
        }
        return samples;
    }

private:
    static dds::sub::DataReader<T> makeReader(const dds::domain::DomainParticipant& participant,
                                              const std::string& topicName, const std::string& routerPartition,
                                              dds::core::policy::DurabilityKind durability)
    {
        namespace routing = com::tallowcrest::routing;
        const dds::topic::Topic<T> topic(participant, topicName, routing::busTopicQos(participant, durability));
        const dds::sub::Subscriber subscriber(participant, routing::busSubscriberQos(participant, routerPartition));
        return {subscriber, topic, dds::sub::qos::DataReaderQos(topic.qos())};
    }

    dds::sub::DataReader<T> m_reader;
};

/// A timecode that a test sets.
class FixedTimecode final : public com::tallowcrest::hwobjs::ITimecodeReader
{
public:
    explicit FixedTimecode(std::uint32_t word) : m_word(word) {}
    com::tallowcrest::util::Timecode getTimecode() const override { return com::tallowcrest::util::Timecode(m_word); }

private:
    std::uint32_t m_word;
};

/// Where the targets of one test are kept, so that they are no history of the next one in the process.
class OwnTargets
{
public:
    OwnTargets()
    {
        ::setenv("KORABRIDGE_DURABLE_STORE", (m_directory.path() / "durable.db").c_str(), 1);
        ::setenv("KORABRIDGE_DURABLE_MEMORY", m_directory.path().c_str(), 1);
    }

private:
    testsupport::TempDir m_directory;
};

/// A manager on the real bus: its events run on the test's thread, other parties live on a second participant.
class BusTest : public testing::Test
{
protected:
    static constexpr std::uint32_t now = 0x02001234;

    BusTest() { com::tallowcrest::hwobjs::setCurrentTimecodeReader(std::make_shared<FixedTimecode>(now)); }
    ~BusTest() override { com::tallowcrest::hwobjs::resetCurrentTimecodeReader(); }

    OwnTargets m_ownTargets;
    testsupport::LogRecorder m_log;
    std::shared_ptr<FakeApartment> m_apartment = std::make_shared<FakeApartment>();
    dds::domain::DomainParticipant m_peer{dds::domain::default_id()};
};
