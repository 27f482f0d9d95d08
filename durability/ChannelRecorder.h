#pragma once

#include "durability/Channel.h"
#include "durability/CompanionPort.h"
#include "durability/DueInstances.h"
#include "durability/NewestSamples.h"
#include "durability/ParticipantWatch.h"
#include "durability/RecentRows.h"
#include "durability/StoreKeeper.h"

#include <dds/dds.h>
#include <log4cxx/logger.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace com::tallowcrest::durability
{

/// What the recorder does for one channel: moves what writers hand over, what the store had and what other participants
/// keep into the channel, and hands it on to the others. While somebody uses the channel it is present on the companion
/// topic. Bound to the recorder's thread.
class ChannelRecorder
{
public:
    ChannelRecorder(dds_entity_t participant, std::shared_ptr<Channel> channel, StoreKeeper& keeper, RecentRows& recent,
                    util::WakeEvent& wake);

    using Clock = Channel::Clock;

    /// One look at everything. True when something became due for the store.
    bool work(Clock::time_point now);
    /// Whether writers handed over more, at the last look, than what there is memory for from the start.
    bool isBusy() const { return m_batch.size() > HandOver::initialSamples; }
    /// How many samples writers handed over until the last look.
    std::size_t handedOver() const { return m_batch.size(); }
    /// Gives back the memory of a burst that is over.
    void rest() { m_channel->shrinkHandOver(m_batch); }
    /// Ends a wait for history when nothing more is to come. True while one goes on.
    bool serveWait(const Channel::Waiting& waiting, ParticipantWatch& participants, Clock::time_point now);
    Channel::Waiting waiting() const { return m_channel->waiting(); }

private:
    bool takeHandedOver();
    /// What the store and the machine's memory had. True when something became due for the store.
    bool takeLoaded();
    std::size_t applyRows(const std::vector<StoredRow>& rows, Channel::Origin origin, bool& isDue);
    bool takeFromBus(Clock::time_point now);
    void openPort(Clock::time_point now);
    void closePort();
    void makeForeignDue();
    void writeDue();
    /// False when it is to be tried again later.
    bool writeOnCompanion(const std::string& instance);
    /// Peers that have not yet given all that they announced.
    std::size_t incompletePeers();

    const dds_entity_t m_participant;
    const std::shared_ptr<Channel> m_channel;
    StoreKeeper& m_keeper;
    RecentRows& m_recent;
    util::WakeEvent& m_wake;
    const log4cxx::LoggerPtr m_logger;
    HandOver::Batch m_batch;
    NewestSamples m_newest;
    std::vector<std::byte> m_sample;

    bool m_isLoaded = false; ///< what the store had, or nothing: the port was opened since, if that is possible
    std::unique_ptr<CompanionPort> m_port;
    Clock::time_point m_nextTry;
    bool m_isWarned = false;
    DueInstances m_due;                                        ///< instances to write on the companion topic
    std::unordered_map<std::string, SourceTime> m_onCompanion; ///< what our writer there has written
    std::unordered_map<dds_instance_handle_t, std::unordered_set<dds_instance_handle_t>> m_received;
    Clock::time_point m_progress; ///< when a peer last gave something
};

} // namespace com::tallowcrest::durability
