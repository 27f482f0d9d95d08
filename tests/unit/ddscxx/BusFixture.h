#pragma once

#include "bustypes/TypeSupport.h"
#include "dds/dds.hpp"
#include "tests/support/WaitUntil.h"
#include "tests/support/WireDomain.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

/// One topic of crosspoint outputs on two DDS stacks that meet on the loopback interface only: what the bridge's side
/// writes, the wire's side reads, and the other way round.
class BusFixture : public testing::Test
{
protected:
    using Output = com::tallowcrest::dds_::routing::MacroXptOutput;
    using Topic = dds::topic::Topic<Output>;
    using Reader = dds::sub::DataReader<Output>;
    using Writer = dds::pub::DataWriter<Output>;
    using InstanceState = dds::sub::status::InstanceState;

    static constexpr const char* topicName = "TopicUnderTest";

    static dds::topic::qos::TopicQos transientLocal()
    {
        dds::topic::qos::TopicQos qos;
        qos << dds::core::policy::Durability::TransientLocal() << dds::core::policy::Reliability::Reliable();
        return qos;
    }
    static Topic makeTopic(const dds::domain::DomainParticipant& participant,
                           const dds::topic::qos::TopicQos& qos = transientLocal())
    {
        return {participant, topicName, qos};
    }
    static Reader makeReader(const Topic& topic)
    {
        return {dds::sub::Subscriber(topic.participant()), topic, topic.qos()};
    }
    /// A writer as the bridge makes them: what it unregisters it does not dispose.
    static Writer makeWriter(const Topic& topic)
    {
        dds::pub::qos::DataWriterQos qos = topic.qos();
        qos << dds::core::policy::WriterDataLifecycle::ManuallyDisposeUnregisteredInstances();
        return {dds::pub::Publisher(topic.participant()), topic, qos};
    }
    static Output output(std::uint32_t number, std::uint32_t input = 0)
    {
        Output result;
        result.macroXptOutput = number;
        result.macroXptInput = input;
        return result;
    }

    /// Takes until `count` samples have come; fewer after 10 s.
    static std::vector<dds::sub::Sample<Output>> takeSamples(Reader& reader, std::size_t count)
    {
        std::vector<dds::sub::Sample<Output>> samples;
        testsupport::waitUntil([&] {
            for (const auto& sample : reader.take())
            {
                samples.push_back(sample);
            }
            return samples.size() >= count;
        });
        return samples;
    }
    static bool waitForReaders(Writer& writer, std::int32_t count)
    {
        return testsupport::waitUntil([&] { return writer.publication_matched_status().current_count() == count; });
    }

    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    testsupport::WireDomain m_wire;
};
