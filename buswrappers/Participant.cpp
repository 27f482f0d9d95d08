#include "buswrappers/Participant.h"

#include "dds/core/WeakReference.hpp"

#include <mutex>

namespace com::tallowcrest::routing
{

dds::domain::DomainParticipant sharedParticipant()
{
    using dds::domain::DomainParticipant;
    static std::mutex mutex;
    static dds::core::WeakReference<DomainParticipant> slot;

    const std::lock_guard lock(mutex);
    DomainParticipant participant = slot.lock();
    if (participant.is_nil())
    {
        participant = DomainParticipant(dds::domain::default_id());
        slot = dds::core::WeakReference<DomainParticipant>(participant);
    }
    return participant;
}

} // namespace com::tallowcrest::routing
