#pragma once

#include "dds/domain/DomainParticipant.hpp"
#include "durability/Channel.h"
#include "durability/ChannelRecorder.h"
#include "durability/Participants.h"
#include "durability/RecentRows.h"
#include "durability/StoreKeeper.h"
#include "runtime/util/SpareMemory.h"
#include "runtime/util/WakeEvent.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

namespace com::tallowcrest::durability
{

/// The thread between the bridge, its neighbours, the store and the memory. It never waits for the disk that the store
/// lies on. Owned by the service.
class Recorder
{
public:
    using Clock = std::chrono::steady_clock;
    /// What comes this soon after a look waits for the next one: a burst wakes nobody, and no more than one command in
    /// a hundred meets the recorder on its processor.
    static constexpr std::chrono::milliseconds gatherTime{10};
    /// The same after a look that found more than `fewValues`: a bridge with thousands of takes a second has work to do
    /// for its controllers, and what is written meanwhile is no more than the newest of each instance.
    static constexpr std::chrono::milliseconds loadedGatherTime{40};
    static constexpr std::size_t fewValues = 64;
    static constexpr std::chrono::milliseconds hurriedPoll{3};
    static constexpr std::chrono::milliseconds idlePoll{250};
    /// So long after a burst its memory is given back to the system; what else has been freed, no more often.
    static constexpr std::chrono::milliseconds usualCalmTime{5000};

    /// What has been stored of a partition that nobody has used for so long goes; looked at an hour after the start and
    /// then once a day.
    static constexpr std::chrono::hours unusedKept{30 * 24};
    static constexpr std::chrono::hours unusedFirstLook{1};
    static constexpr std::chrono::hours unusedLook{24};

    /// Throws dds::core::Error, and std::system_error when there is no thread to be had.
    Recorder(dds::domain::DomainParticipant participant, std::filesystem::path store,
             std::chrono::milliseconds calmTime = usualCalmTime);
    /// Takes over what has been handed over, stores what is not stored yet, then ends the threads.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// The channel of that name, made when it does not exist. Any thread; nothing is waited for.
    std::shared_ptr<Channel> channel(const Channel::Settings& settings, const TypeCodec& codec);

private:
    void run();
    /// One look at all channels.
    void look(StoreKeeper& keeper, RecentRows& recent);
    void keepAgain();
    void openChannels(StoreKeeper& keeper, RecentRows& recent);
    void dropUnused(StoreKeeper& keeper);
    void letGoOfChannels(const StoreKeeper& keeper);
    void restAfterBurst(RecentRows& recent);

    const dds::domain::DomainParticipant m_participant;
    const std::filesystem::path m_store;
    const std::chrono::milliseconds m_calmTime;
    util::WakeEvent m_wake;
    std::mutex m_mutex; ///< guards what follows
    std::map<ChannelName, std::shared_ptr<Channel>> m_channels;

    // The recorder's thread only.
    ParticipantWatch m_participants;
    std::map<ChannelName, ChannelRecorder> m_recorders;
    std::set<ChannelName> m_letGo; ///< whose rows have been taken from the store before
    Clock::time_point m_unusedDue = Clock::now() + unusedFirstLook;
    std::size_t m_handedOver = 0; ///< values, until the last look
    bool m_isInHurry = false;
    bool m_isBusy = false;
    std::optional<Clock::time_point> m_lastBurst; ///< whose memory is still held
    util::SpareMemory m_spareMemory;

    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

} // namespace com::tallowcrest::durability
