#pragma once

#include "dds/domain/DomainParticipant.hpp"

#include <dds/dds.h>

#include <memory>
#include <optional>
#include <string>

namespace testsupport
{

/// A second DDS stack in this process, on the same bus as the default domain: what the two say to each other goes over
/// the loopback interface as between two machines. Needs a network namespace of its own. One at a time.
class WireDomain
{
public:
    WireDomain();
    /// The participant must have been dropped everywhere.
    ~WireDomain();
    WireDomain(const WireDomain&) = delete;
    WireDomain& operator=(const WireDomain&) = delete;

    const dds::domain::DomainParticipant& participant() const { return m_participant; }

    /// What discovery says of a writer or reader.
    struct Endpoint
    {
        std::string typeName;
        std::shared_ptr<const dds_qos_t> qos;

        std::optional<dds_durability_kind_t> durability() const;
        /// The max blocking time in nanoseconds when RELIABLE, -1 when not.
        dds_duration_t reliableFor() const;
        /// The partition when there is exactly one, else their number in angle brackets.
        std::string partition() const;
        bool autodispose() const;
        bool keepsLastOne() const;
    };

    /// The writer (reader) of `topicName` that the other stack has announced; waits for it. Empty after 10 s.
    std::optional<Endpoint> discoveredWriter(const std::string& topicName) const;
    std::optional<Endpoint> discoveredReader(const std::string& topicName) const;

private:
    std::optional<Endpoint> discovered(dds_entity_t builtinTopic, const std::string& topicName) const;

    const dds_entity_t m_domain;
    dds::domain::DomainParticipant m_participant;
};

} // namespace testsupport
