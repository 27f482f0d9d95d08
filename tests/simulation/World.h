#pragma once

#include "tests/simulation/Network.h"
#include "tests/simulation/SimulatedBridge.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace simulation
{

/// Some bridges, a router that does what came last, a bus and disks that misbehave; and what must hold.
class World final : public IWorld
{
public:
    struct Settings
    {
        std::uint64_t seed = 1;
        std::size_t bridges = 3;
        Instance greatest = 80; ///< a whole bucket and a part of one
        bool isShared = false;
        Sabotage sabotage = Sabotage::None;
        Time calm{20'000'000}; ///< after all faults
        std::size_t faults = 60;
        bool areClocksApart = true;
        bool areDisksBad = true;
        bool arePowerCuts = true;
    };

    explicit World(const Settings& settings);

    /// Faults and takes, then calm. What did not hold, in words; empty when everything did.
    std::vector<std::string> run();
    std::uint64_t steps() const { return m_events.steps(); }

    // IWorld
    void publish(std::size_t bridge, Instance instance, const Decision& decision) override;
    void tell(std::size_t bridge, const durability::Status& status) override;
    void handOver(std::size_t bridge, const durability::BucketRows& rows) override;
    void hasJoined(std::size_t bridge) override;

private:
    struct Made
    {
        Instance instance = 0;
        Decision decision;
        Time at{};
        std::size_t author = 0;
        std::uint64_t life = 0;
        bool isExcused = false; ///< its author ended too soon after it
    };

    std::size_t router() const { return m_settings.bridges; }
    void onDiscovery(std::size_t node, std::size_t other, bool isThere);
    void onRouter(Instance instance, const Decision& decision);
    void sendStatus(std::size_t from, std::size_t to);
    void fault();
    void take();
    void endBridge(std::size_t bridge);
    void watchJoins();
    void checkEnd();
    void fail(const std::string& what);
    std::string text(Instance instance, const Decision* decision) const;

    const Settings m_settings;
    Events m_events;
    Network m_network;
    std::vector<std::unique_ptr<SimulatedBridge>> m_bridges;
    /// What each bridge, in this life of it, has published last.
    std::map<std::pair<std::size_t, Instance>, durability::SourceTime> m_published;
    std::map<Instance, Decision> m_onAir;
    std::map<std::pair<std::size_t, std::size_t>, durability::NeighbourId> m_knownAs; ///< by finder and found
    bool m_isRouterRunning = false;
    bool m_isCalm = false;
    std::vector<Made> m_made;
    std::vector<std::string> m_failures;
};

} // namespace simulation
