#pragma once

#include "bustypes/RoutingTypes.h"
#include "bustypes/TopicNames.h"
#include "dds/sub/Sample.hpp"
#include "tests/chaos/Crosspoint.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace com::tallowcrest::apartment
{
class Apartment;
}

namespace chaos
{

struct World;

/// An independent participant of the bus that reads all targets and status and tells the ledgers.
class BusWatch
{
public:
    BusWatch(World& world, const std::vector<std::string>& partitions);
    ~BusWatch();
    BusWatch(const BusWatch&) = delete;
    BusWatch& operator=(const BusWatch&) = delete;

    /// The partition whose status counts: that of the router which the bridge belongs to. Must be one of those watched.
    void follow(const std::string& partition);

private:
    using MacroXptOutput = com::tallowcrest::dds_::routing::MacroXptOutput;
    class Sub;

    void onTarget(const std::string& partition, Signal signal, const MacroXptOutput& sample,
                  const dds::sub::SampleInfo& info);
    void onStatus(std::size_t partition, Signal signal, const MacroXptOutput& sample, const dds::sub::SampleInfo& info);

    World& m_world;
    const std::vector<std::string> m_partitions;
    std::atomic<std::size_t> m_followed{0};
    std::shared_ptr<com::tallowcrest::apartment::Apartment> m_apartment;
    std::vector<std::unique_ptr<Sub>> m_subs;
    std::optional<std::uint32_t> m_overlooked; ///< by sabotage
};

} // namespace chaos
