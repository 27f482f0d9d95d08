#pragma once

#include "dds/domain/DomainParticipant.hpp"

namespace com::tallowcrest::routing
{

/// The one participant of the process, in the domain that the deployment configures. Made when the first wrapper asks
/// for it, deleted when the last handle is dropped; after that the next call makes a new one. Thread-safe. Throws
/// dds::core::Error or one of its family when the DDS library cannot start.
dds::domain::DomainParticipant sharedParticipant();

} // namespace com::tallowcrest::routing
