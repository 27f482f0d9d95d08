#include "buswrappers/Participant.h"

#include "buswrappers/BusInterfaces.h"
#include "dds/core/Reference.hpp"
#include "durability/DurableSettings.h"
#include "runtime/util/Log.h"

#include <dds/version.h>

#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

namespace com::tallowcrest::routing
{

namespace
{

/// A writer that goes is gone at once. The library would let it repeat what readers have not confirmed for up to a
/// second, beside the writer that has taken its place, so that something older may arrive last.
constexpr const char* noLinger =
    "<CycloneDDS><Domain id=\"any\"><Internal><WriterLingerDuration>0s</WriterLingerDuration></Internal></Domain>"
    "</CycloneDDS>";

/// The deployment's own configuration. What the program itself needs is added to it, once.
const std::string& configureBus()
{
    static const std::string deployment = [] {
        // NOLINTBEGIN(concurrency-mt-unsafe): before there is a thread that reads the environment
        const char* const value = std::getenv("CYCLONEDDS_URI");
        std::string own = value != nullptr ? value : "";
        ::setenv("CYCLONEDDS_URI", (own + (own.empty() ? "" : ",") + noLinger).c_str(), 1);
        // NOLINTEND(concurrency-mt-unsafe)
        return own;
    }();
    return deployment;
}

std::mutex slotMutex; ///< guards both slots
dds::core::WeakReference<dds::domain::DomainParticipant> participantSlot;

dds::domain::DomainParticipant currentParticipant()
{
    const std::lock_guard lock(slotMutex);
    return participantSlot.lock();
}

} // namespace

std::string busDescription()
{
    const dds::domain::DomainParticipant participant = currentParticipant();
    const bool isThere = !participant.is_nil();
    const std::string& configuration = configureBus();
    // The configuration may be long: whatever is cut is the end of it.
    return util::formatText("DDS library %s, domain %s, interface %s, store %s, configuration %s", DDS_VERSION,
                            isThere ? std::to_string(participant.domain_id()).c_str() : "unknown",
                            isThere ? busInterfaces().c_str() : "unknown", durability::storePath().c_str(),
                            configuration.empty() ? "none" : configuration.c_str());
}

dds::domain::DomainParticipant sharedParticipant()
{
    using dds::domain::DomainParticipant;

    configureBus();
    const std::lock_guard lock(slotMutex);
    DomainParticipant participant = participantSlot.lock();
    if (participant.is_nil())
    {
        participant = DomainParticipant(dds::domain::default_id());
        participantSlot = dds::core::WeakReference<DomainParticipant>(participant);
    }
    return participant;
}

std::shared_ptr<durability::Recorder> sharedRecorder()
{
    static std::weak_ptr<durability::Recorder> slot;

    const dds::domain::DomainParticipant participant = sharedParticipant();
    const std::lock_guard lock(slotMutex);
    std::shared_ptr<durability::Recorder> recorder = slot.lock();
    if (recorder == nullptr)
    {
        recorder = std::make_shared<durability::Recorder>(participant, durability::storePath());
        slot = recorder;
    }
    return recorder;
}

} // namespace com::tallowcrest::routing
