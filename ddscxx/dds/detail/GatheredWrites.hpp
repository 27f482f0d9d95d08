#pragma once

#include <dds/dds.h>

namespace dds::detail
{

/// What a writer made with this QoS writes is gathered until dds_write_flush, in as few packets as it fits into. Later
/// releases of the DDS library have a policy for it. Earlier ones know a switch for all writers that the process makes
/// from then on, which is meant as well: to be called when the participant is there, before each writer is made.
void gatherWrites(dds_qos_t* writerQos);

} // namespace dds::detail
