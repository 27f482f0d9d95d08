#pragma once

#include "dds/domain/DomainParticipant.hpp"
#include "durability/Recorder.h"

#include <memory>
#include <string>

namespace com::tallowcrest::routing
{

/// The one participant of the process, in the domain that the deployment configures. Made when the first wrapper asks
/// for it, deleted when the last handle is dropped; after that the next call makes a new one. Thread-safe. Throws
/// dds::core::Error or one of its family when the DDS library cannot start.
dds::domain::DomainParticipant sharedParticipant();

/// What the bus is made of, for the log: library, domain, interface, store and configuration. Domain and interface are
/// unknown while there is no participant.
std::string busDescription();

/// The one that keeps its PERSISTENT data, in the store that the deployment names. The same, and what Recorder throws.
std::shared_ptr<durability::Recorder> sharedRecorder();

} // namespace com::tallowcrest::routing
