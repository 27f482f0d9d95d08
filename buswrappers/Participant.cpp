#include "buswrappers/Participant.h"

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

/// Adds to the deployment's configuration what the program itself needs, once.
void configureBus()
{
    static std::once_flag once;
    std::call_once(once, [] {
        // NOLINTBEGIN(concurrency-mt-unsafe): before there is a thread that reads the environment
        const char* const deployment = std::getenv("CYCLONEDDS_URI");
        std::string all = deployment != nullptr ? deployment : "";
        all += all.empty() ? "" : ",";
        ::setenv("CYCLONEDDS_URI", (all + noLinger).c_str(), 1);
        // NOLINTEND(concurrency-mt-unsafe)
    });
}

std::mutex slotMutex; ///< guards both slots

} // namespace

std::string busDescription()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): before there is a thread that changes the environment
    const char* const configuration = std::getenv("CYCLONEDDS_URI");
    return util::formatText("DDS library %s, configuration %s, store %s", DDS_VERSION,
                            configuration != nullptr ? configuration : "none", durability::storePath().c_str());
}

dds::domain::DomainParticipant sharedParticipant()
{
    using dds::domain::DomainParticipant;
    static dds::core::WeakReference<DomainParticipant> slot;

    configureBus();
    const std::lock_guard lock(slotMutex);
    DomainParticipant participant = slot.lock();
    if (participant.is_nil())
    {
        participant = DomainParticipant(dds::domain::default_id());
        slot = dds::core::WeakReference<DomainParticipant>(participant);
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
