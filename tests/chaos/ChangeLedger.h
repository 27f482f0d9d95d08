#pragma once

#include "tests/chaos/Crosspoint.h"

#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace chaos
{

class Verdict;

/// Checks that every controller that polls for changes comes to know each output's status: once a status has stood on
/// the bus for the bound's time, a walk over the changes that began after that must leave the controller knowing it.
/// Thread-safe.
class ChangeLedger
{
public:
    /// A status as a controller is told it.
    struct Status
    {
        std::uint32_t result = 0;
        std::uint32_t input = 0;    ///< meaningful when `result` is 0
        std::uint32_t lprState = 0; ///< in the link's codes
        std::uint32_t lprId = 0;
    };
    /// What of a status a controller asks for.
    enum class Detail
    {
        InputOnly,
        Everything
    };
    struct Figures
    {
        std::size_t published = 0;
        std::size_t reported = 0;
        std::size_t compared = 0; ///< status that had to be known to one controller, and was
        std::size_t superseded = 0;
        std::size_t marked = 0; ///< outputs whose status with the holder of `mark` has been on the bus
    };

    ChangeLedger(Verdict& verdict, Clock::duration bound) : m_verdict(verdict), m_bound(bound) {}

    /// A polling controller; the number that it reports under.
    std::size_t addPoller(std::string name, Detail detail);
    void reported(std::size_t poller, const Crosspoint& crosspoint, const Status& status);
    /// A walk over the changes of one signal's level that began at `begin` has found its end.
    void walked(std::size_t poller, Signal signal, Clock::time_point begin);

    /// A status came on the bus.
    void published(const Crosspoint& crosspoint, const Status& status, Clock::time_point when);
    /// A status was disposed of, after which `status` is what controllers are told. A bridge that joins anew meanwhile
    /// need not notice.
    void disposed(const Crosspoint& crosspoint, const Status& status, Clock::time_point when);
    /// The bridge is about to join anew.
    void rejoins(Clock::time_point when);
    /// What is on the bus of an output says nothing about what the bridge must know.
    void forget(const Crosspoint& crosspoint);
    /// From here on nothing is compared, because the bus is interrupted.
    void interrupt();
    /// The bus works again. What was published before `resume` is compared no more, unless it was merely held up.
    void resume(bool isMerelyHeldUp, Clock::time_point when);

    /// Counts anew the outputs of which a status with this holder comes on the bus.
    void mark(std::uint32_t lprId);

    /// How many outputs have a status that has to be compared with some controller's knowledge yet.
    std::size_t open() const;
    Figures figures() const;

private:
    struct OnBus
    {
        Status status;
        Clock::time_point when;
        bool isComparable = false;
        bool isDisposed = false;
        bool isMarked = false;
        std::uint32_t compared = 0; ///< one bit for each poller that knew it
    };
    struct Poller
    {
        std::string name;
        Detail detail;
        std::vector<Status> video{sizeOf(Signal::Video) + 1, Status{~0U, 0, 0, 0}};
        std::vector<Status> audio{sizeOf(Signal::Audio) + 1, Status{~0U, 0, 0, 0}};

        std::vector<Status>& of(Signal signal) { return signal == Signal::Video ? video : audio; }
    };

    static bool isSame(const Status& known, const Status& onBus, Detail detail);
    std::uint32_t allPollers() const { return (1U << m_pollers.size()) - 1; }
    std::vector<OnBus>& of(Signal signal) { return signal == Signal::Video ? m_video : m_audio; }

    Verdict& m_verdict;
    const Clock::duration m_bound;
    mutable std::mutex m_mutex;
    std::vector<Poller> m_pollers;
    std::vector<OnBus> m_video{sizeOf(Signal::Video) + 1};
    std::vector<OnBus> m_audio{sizeOf(Signal::Audio) + 1};
    bool m_isInterrupted = false;
    Clock::time_point m_lastRejoin{};
    std::optional<std::uint32_t> m_mark;
    Figures m_figures;
};

} // namespace chaos
