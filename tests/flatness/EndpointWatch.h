#pragma once

#include <dds/dds.h>

#include <cstddef>
#include <cstdint>

namespace flatness
{

/// Counts the readers and writers that one process announces on the bus, as another participant discovers them.
class EndpointWatch
{
public:
    EndpointWatch();
    ~EndpointWatch();
    EndpointWatch(const EndpointWatch&) = delete;
    EndpointWatch& operator=(const EndpointWatch&) = delete;

    /// Of the participant that writes the bridges' component records; 0 before it has been discovered.
    std::size_t endpointsOfBridge() const;

private:
    dds_entity_t m_participant;
    dds_entity_t m_publications;
    dds_entity_t m_subscriptions;
};

} // namespace flatness
