#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace chaos
{

/// What a router does to the bridge. From `Move` on the bus itself is interrupted.
enum class BusAct
{
    ReAnnounce,
    ReAnnounceThrice,
    ReAnnounceInARow,
    DisposeMember,
    DropRanges,
    DropLevel,
    Status,
    DisposeStatus,
    Burst,
    LocalTarget,
    Move,
    Stop,
    StopBeyondLease,
    Kill,
    Vanish,
};

/// What a controller does that behaves badly.
enum class PeerAct
{
    Reset,
    HalfClose,
    StallInHeader,
    StallInBody,
    NeverRead,
    Garbage,
    GarbageFrames,
    OtherProtocols,
    Flood,
    UnknownCommands,
    Drip,
    ConnectStorm,
    Silent,
};

/// What somebody at the console does; `Inspect` is the well-behaved operator.
enum class ConsoleAct
{
    Inspect,
    Reset,
    HalfClose,
    StallInLine,
    NeverRead,
    Garbage,
    LongLine,
    Flood,
    SecondClient,
    Negotiation,
};

template <typename Act>
struct Step
{
    Act act{};
    std::chrono::milliseconds wait{0};     ///< before the act
    std::chrono::milliseconds duration{0}; ///< how long the state lasts that the act brings about
    std::uint32_t number = 0;              ///< which output, level, member, or seed of the act's own randomness

    bool operator==(const Step&) const = default;
};

/// Every disturbance of a run, in order, for each of those who bring them about. The same seed and length give the same
/// plan. Plain value.
class Plan
{
public:
    static constexpr std::size_t peers = 6;

    /// `calm` is how long nothing interrupts the bus after each interruption, so that what must follow can be checked.
    Plan(std::uint64_t seed, std::chrono::seconds length, std::chrono::milliseconds calm);

    const std::vector<Step<BusAct>>& bus() const { return m_bus; }
    const std::vector<Step<PeerAct>>& peer(std::size_t index) const { return m_peers.at(index); }
    const std::vector<Step<ConsoleAct>>& console() const { return m_console; }

    void print(std::ostream& out) const;
    bool operator==(const Plan&) const = default;

private:
    std::vector<Step<BusAct>> m_bus;
    std::vector<std::vector<Step<PeerAct>>> m_peers;
    std::vector<Step<ConsoleAct>> m_console;
};

std::string nameOf(BusAct act);
std::string nameOf(PeerAct act);
std::string nameOf(ConsoleAct act);
/// Whether what was published before the act need not have arrived after it.
bool interruptsBus(BusAct act);

} // namespace chaos
