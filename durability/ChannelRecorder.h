#pragma once

#include "dds/domain/DomainParticipant.hpp"
#include "durability/Channel.h"
#include "durability/ChannelCore.h"
#include "durability/NeighbourPort.h"
#include "durability/RecentRows.h"
#include "durability/StoreKeeper.h"

#include <log4cxx/logger.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace com::tallowcrest::durability
{

/// Carries for one channel: tells the core what the bridge, the neighbours, the topic, the store and the memory say,
/// and does what it decides. Bound to the recorder's thread.
class ChannelRecorder
{
public:
    /// How long known readers may take to answer the writer of a join before the bridge goes on. One that works answers
    /// within milliseconds.
    static constexpr std::chrono::milliseconds readersAnswer{150};
    /// A reader that has confirmed nothing for so long may have lost its connection, and with it what was written
    /// meanwhile: it counts as one that comes late once it confirms again.
    static constexpr std::chrono::seconds readersAreAway{2};
    /// After which the bus is asked again for what it has refused.
    static constexpr std::chrono::seconds portRetry{1};

    /// `started` is when the participant came onto the bus. Throws dds::core::Error.
    ChannelRecorder(const dds::domain::DomainParticipant& participant, std::chrono::steady_clock::time_point started,
                    std::shared_ptr<Channel> channel, StoreKeeper& keeper, RecentRows& recent, util::WakeEvent& wake);

    /// One look at everything. True when something became due for the store. `newcomer` is when a participant was
    /// discovered last.
    bool work(std::chrono::steady_clock::time_point newcomer);
    /// How many other bridges are known; none when nobody here has joined.
    std::size_t neighbours() const { return m_topic == nullptr ? 0 : m_core.neighbours(); }
    bool isInHurry() const { return m_core.isInHurry() || m_completed || !m_toAdopt.empty() || !m_toRepeat.empty(); }
    /// Whether the bridge handed over more, at the last look, than what there is memory for from the start.
    bool isBusy() const { return m_batch.size() > HandOver::initialValues; }
    /// How many values the bridge handed over until the last look.
    std::size_t handedOver() const { return m_batch.size(); }
    /// Gives back the memory of a burst that is over.
    void rest() { m_channel->shrinkHandOver(m_batch); }
    const Channel& channel() const { return *m_channel; }
    /// Nobody uses the channel any more.
    bool isLeft() const { return m_channel->isLeft(); }
    /// The store or the memory has been lost.
    void keepAgain() { m_core.keepAgain(); }

private:
    using Clock = std::chrono::steady_clock;

    ChannelCore::Now now() const;
    void openPort();
    void takeJoin();
    /// Of the decisions about an instance that came since the last look the core is told the last one.
    void takeHandedOver();
    void findLastDecided();
    bool isDecidedSinceJoin(std::size_t i) const;
    const void* valueAt(std::size_t i) const { return &m_batch.values[i * m_channel->codec().valueSize]; }
    void takeLoaded();
    std::size_t applyRows(std::vector<StoredRow> rows, ChannelCore::Kept where);
    void takeSeen();
    void takeFromBus();
    void lookAtReaders();
    bool carryOut();
    void tellNeighbours(const ChannelCore::Effects& effects);
    void deliver();
    void deliver(const std::vector<Instance>& instances, Channel::Delivery::Purpose purpose);
    void reportRefused();
    StoredRow rowOf(Instance instance) const;

    const std::shared_ptr<Channel> m_channel;
    StoreKeeper& m_keeper;
    RecentRows& m_recent;
    const log4cxx::LoggerPtr m_logger;
    const std::string m_description;
    const dds::domain::DomainParticipant m_participant;
    util::WakeEvent& m_wake;
    std::optional<NeighbourPort> m_port; ///< none while the bus refuses it
    Clock::time_point m_portDue{};
    bool m_isPortReported = false;
    ChannelCore m_core;
    HandOver::Batch m_batch;
    ChannelCore::Time m_drainedAt{};
    std::vector<std::size_t> m_lastDecided; ///< by instance: where in the batch, if it is there
    std::shared_ptr<IDurableTopic> m_topic; ///< of the last join
    Channel::Deliver m_deliver;
    std::uint64_t m_ticket = 0;
    Clock::time_point m_joinedAt{};
    bool m_isJoining = false;          ///< until the bridge has the history
    bool m_haveReadersAnswered = true; ///< since the join
    std::optional<Clock::time_point> m_unansweredSince;
    std::optional<ChannelCore::Completed> m_completed; ///< the bridge has not been told yet
    std::vector<Instance> m_toAdopt;                   ///< the same
    std::vector<Instance> m_toRepeat;                  ///< the same
    bool m_isCrowdReported = false;
    bool m_isRefusalReported = false;
    bool m_isSendingReported = false;
};

} // namespace com::tallowcrest::durability
