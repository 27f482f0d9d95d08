#pragma once

#include "bustypes/TypeSupport.h"
#include "dds/detail/Entity.hpp"

#include <dds/dds.h>

#include <cstdint>
#include <string>

/// Bare entities of the bus for programs that measure: the DDS library's own calls with the bus's QoS, and nothing in
/// between. Everything belongs to its participant and goes with it. Failures are thrown as dds::core::Error.
namespace bench
{

using Output = com::tallowcrest::dds_::routing::MacroXptOutput;
using OutputSupport = com::tallowcrest::dds_::routing::TypeSupport<Output>;
using BusOutput = OutputSupport::BusType;

/// RELIABLE with 100 ms max blocking time, and no autodispose, as on the whole bus.
dds_qos_t* busQos(dds_durability_kind_t durability);

/// When samples leave the process.
enum class Sending
{
    AtOnce,  ///< each as it is written
    Together ///< all that were written since, when the writer is flushed
};

dds_entity_t makeWriter(dds_entity_t participant, const dds_topic_descriptor_t& type, const char* topic,
                        const std::string& routerPartition, dds_durability_kind_t durability, Sending sending);
/// `listener` may be null; it is copied.
dds_entity_t makeReader(dds_entity_t participant, const dds_topic_descriptor_t& type, const char* topic,
                        const std::string& routerPartition, dds_durability_kind_t durability,
                        const dds_listener_t* listener);

/// Writes values of one type.
template <typename T>
class Writer
{
public:
    using Support = com::tallowcrest::dds_::routing::TypeSupport<T>;

    Writer(dds_entity_t participant, const char* topic, const std::string& routerPartition,
           dds_durability_kind_t durability, Sending sending = Sending::AtOnce)
        : m_writer(makeWriter(participant, Support::descriptor(), topic, routerPartition, durability, sending)),
          m_sending(sending)
    {}

    void write(const T& value) { write(Support::toBus(value)); }
    void write(const typename Support::BusType& native)
    {
        if (const dds_return_t code = dds_write(m_writer, &native); code < 0)
        {
            dds::detail::check(code, "writing");
        }
    }
    /// Sends what was written since, unless it has left already.
    void flush()
    {
        if (m_sending == Sending::Together)
        {
            dds_write_flush(m_writer);
        }
    }

private:
    dds_entity_t m_writer;
    Sending m_sending;
};

} // namespace bench
