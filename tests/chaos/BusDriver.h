#pragma once

#include "tests/chaos/Dice.h"
#include "tests/chaos/Plan.h"
#include "tests/chaos/Processes.h"

#include <map>
#include <string>

namespace chaos
{

class BusWatch;
class Stopper;
struct World;

/// Carries out the bus's part of a plan on a simulated router. Owned by one thread.
class BusDriver
{
public:
    static constexpr const char* firstPartition = "R1";
    static constexpr const char* secondPartition = "R2";

    BusDriver(World& world, BusWatch& watch, std::uint64_t seed);

    /// All steps in order, until told to stop; the bus is whole again afterwards.
    void perform(const std::vector<Step<BusAct>>& steps, const Stopper& stopper);
    /// Gives every output of both signals a status that it never had, held by `number`.
    void burst(std::uint32_t number);
    const std::map<BusAct, std::size_t>& performed() const { return m_performed; }

private:
    void perform(const Step<BusAct>& step, const Stopper& stopper);
    void interrupt(const Step<BusAct>& step, const Stopper& stopper);
    void reAnnounce();
    void dropRanges(const Step<BusAct>& step, const Stopper& stopper);
    void dropLevel(const Step<BusAct>& step, const Stopper& stopper);
    void publishStatus();
    /// "video 7" of some output.
    std::string someOutput();

    World& m_world;
    BusWatch& m_watch;
    Dice m_dice;
    RouterProcess m_router;
    std::string m_partition = firstPartition;
    std::map<BusAct, std::size_t> m_performed;
};

} // namespace chaos
