#pragma once

#include "durability/ChannelCore.h"
#include "tests/simulation/Events.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace simulation
{

namespace durability = com::tallowcrest::durability;
using durability::Decision;
using durability::Instance;

/// What a bridge asks of the world around it.
class IWorld
{
public:
    virtual ~IWorld() = default;
    virtual void publish(std::size_t bridge, Instance instance, const Decision& decision) = 0;
    virtual void tell(std::size_t bridge, const durability::Status& status) = 0;
    virtual void handOver(std::size_t bridge, const durability::BucketRows& rows) = 0;
    virtual void hasJoined(std::size_t bridge) = 0;
};

/// What a bridge does wrong, to show that somebody notices.
enum class Sabotage
{
    None,
    StoresNothing,
    RemembersNothing,
    PublishesHistoryAsNew,
    CorrectsNothing, ///< on the bus
    TellsNothing,    ///< to its neighbours
    TrustsItsClock,  ///< alone, for the time of a decision
    NeverReadsTheStore,
    AdoptsNothing
};

/// A bridge but for threads, files and the bus: the core, with a queue before it as the real one has, a disk that takes
/// its time, a file in memory, and the bridge's table of targets.
class SimulatedBridge
{
public:
    using Time = simulation::Time;

    struct Faults
    {
        bool isDiskFull = false; ///< commits fail; what is there can be read
        bool isDiskUnreadable = false;
        std::int64_t clockOffset = 0; ///< microseconds
    };

    SimulatedBridge(Events& events, IWorld& world, std::size_t index, Instance greatest, bool isShared,
                    Sabotage sabotage);

    bool isRunning() const { return m_core != nullptr; }
    bool isJoined() const { return m_isJoined; }
    std::uint64_t life() const { return m_life; }
    durability::NeighbourId id() const { return idOf(m_index, m_life); }
    static durability::NeighbourId idOf(std::size_t index, std::uint64_t life) { return index * 1'000'000 + life; }

    void start();
    enum class End
    {
        Clean,
        Kill,
        PowerCut
    };
    void end(End how);
    void announceMembership();
    /// Decides on the apartment. The time that the decision got.
    Decision take(Instance instance, std::uint64_t name);

    // From the network.
    void seen(Instance instance, const Decision& decision);
    void neighbour(durability::NeighbourId id, bool isThere);
    void heard(durability::NeighbourId from, const durability::Status& status);
    void heard(const durability::BucketRows& rows);
    void readerCame();

    const std::optional<durability::Status>& lastStatus() const { return m_lastStatus; }
    const Decision* known(Instance instance) const { return m_core->known(instance); }
    const std::map<Instance, Decision>& table() const { return m_table; }
    /// What a power cut would leave.
    const Decision* stored(Instance instance) const;
    /// When the disk last kept the store from being read or written, or the store had not been read yet.
    Time lastDiskTrouble() const;
    std::optional<Time> joinBegan() const { return m_joinBegan; }
    const Faults& faults() const { return m_faults; }
    void setDiskFull(bool isFull);
    void setDiskUnreadable(bool isUnreadable);
    void stepClock(std::int64_t microseconds) { m_faults.clockOffset += microseconds; }

private:
    durability::ChannelCore::Now now() const;
    void drain();
    void look();
    void planLook();
    void carryOut();
    void deliverHistory();
    void repeat(Instance instance, const Decision& decision);
    void adopt(Instance instance, const Decision& decision);
    void loadStore();
    void commit();
    void storePending();
    void store(Instance instance, const Decision& decision);
    template <typename Event>
    void later(Time delay, Event event); ///< unless the process has ended by then

    struct Written
    {
        Instance instance;
        Decision decision;
        bool isHistory;
        Time at;
    };

    bool isDiskInTrouble() const;

    Faults m_faults;
    Time m_diskTrouble{};
    Events& m_events;
    IWorld& m_world;
    const std::size_t m_index;
    const Instance m_greatest;
    const bool m_isShared;
    const Sabotage m_sabotage;

    std::uint64_t m_life = 0;
    std::unique_ptr<durability::HybridClock> m_clock;
    std::unique_ptr<durability::ChannelCore> m_core;
    std::vector<Written> m_handedOver;
    Time m_drainedAt{};
    std::map<Instance, Decision> m_table;
    std::optional<durability::Status> m_lastStatus;
    std::uint64_t m_ticket = 0;
    bool m_isJoined = false;
    bool m_isStoreRead = false;
    bool m_isCommitting = false;
    std::map<Instance, Decision> m_pending; ///< what the disk lacks
    std::optional<Time> m_joinBegan;

    std::map<Instance, Decision> m_disk;   ///< what a power cut leaves
    std::map<Instance, Decision> m_memory; ///< what the end of a process leaves
};

} // namespace simulation
