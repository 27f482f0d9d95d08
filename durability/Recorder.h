#pragma once

#include "durability/ChannelList.h"
#include "durability/ChannelRecorder.h"
#include "durability/ParticipantWatch.h"
#include "durability/StoreKeeper.h"
#include "runtime/util/WakeEvent.h"

#include <dds/dds.h>

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <thread>

namespace com::tallowcrest::durability
{

/// The thread between the writers, the other participants and the keeper of the store. It never waits for the disk.
/// Owned by the service.
class Recorder
{
public:
    using Clock = std::chrono::steady_clock;
    /// What comes this soon after a look waits for the next one: a burst wakes nobody, and no more than one command in
    /// a hundred meets the recorder on its processor.
    static constexpr std::chrono::milliseconds gatherTime{10};
    /// The same after a look that found more than `fewSamples`: a bridge with thousands of takes a second has work to
    /// do for its controllers, and what is written meanwhile is no more than the newest of each instance.
    static constexpr std::chrono::milliseconds loadedGatherTime{40};
    static constexpr std::size_t fewSamples = 64;
    static constexpr std::chrono::milliseconds waitPoll{3};
    static constexpr std::chrono::milliseconds idlePoll{500};
    /// So long after a burst its memory is given back to the system.
    static constexpr std::chrono::milliseconds usualCalmTime{5000};

    /// `started` is when the participant was made. Throws BusError.
    Recorder(dds_entity_t participant, Clock::time_point started, const ChannelList& channels, StoreKeeper& keeper,
             RecentRows& recent, util::WakeEvent& wake, std::chrono::milliseconds calmTime = usualCalmTime);
    /// Takes over what has been handed over, then ends the thread.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

private:
    void run();
    /// True while somebody waits for history.
    bool look();
    void restAfterBurst(bool isBusy);

    const dds_entity_t m_participant;
    const ChannelList& m_channels;
    StoreKeeper& m_keeper;
    RecentRows& m_recent;
    util::WakeEvent& m_wake;
    const std::chrono::milliseconds m_calmTime;
    ParticipantWatch m_participants;
    std::map<const Channel*, ChannelRecorder> m_recorders;
    std::size_t m_handedOver = 0;                 ///< samples, until the last look
    std::optional<Clock::time_point> m_lastBurst; ///< whose memory is still held
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

} // namespace com::tallowcrest::durability
