#pragma once

#include "tests/e2e/support/BridgeFixture.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace e2e
{

/// A controller that takes, locks and releases outputs of its own, in messages of one to many entries, until its bridge
/// dies, and remembers what was answered when. Each request has a number of its own, which travels as its holder, so
/// that what the next bridge publishes is known again. One thread loads; everything else is for another thread while
/// nobody does.
class DurableController
{
public:
    using Clock = std::chrono::steady_clock;
    /// What was acknowledged, or what the next bridge published of it, in entries.
    struct Figures
    {
        std::size_t videoTakes = 0;
        std::size_t audioTakes = 0;
        std::size_t locks = 0;      ///< and releases
        std::size_t manyAtOnce = 0; ///< messages of more than one entry; not counted of what is published

        bool hasEverything() const { return videoTakes > 0 && audioTakes > 0 && locks > 0; }
    };

    /// Of `numControllers` the one with this share of the outputs.
    DurableController(std::uint32_t share, std::uint32_t numControllers, std::uint32_t seed)
        : m_share(share), m_numControllers(numControllers), m_random(seed)
    {}

    /// Returns when the connection ends. That is a failure before `isKilled`, and so is a refusal and anything else.
    void load(koraclient::KoraClient client, const std::atomic<bool>& isKilled);
    /// Whether some of everything has been acknowledged since the load began; false while nobody loads. Thread-safe.
    bool hasDoneEverything() const { return m_hasDoneEverything; }
    /// What has gone wrong while loading; empty when nothing has.
    const std::string& failure() const { return m_failure; }

    /// Waits until the bridge that lives now has published all that was answered up to a moment, or something later.
    /// Counts what came of the last load; `lost` says what did not come.
    Figures expectNothingLost(const testsupport::RouterRecord& record, Clock::time_point kept, std::string& lost);
    /// What was answered after that moment may be gone, as if it had not been answered.
    void releaseAfter(Clock::time_point kept);

private:
    using LprState = com::tallowcrest::dds_::routing::LPRState;
    using Output = std::pair<Signal, std::uint32_t>;
    struct Request
    {
        std::uint32_t number = 0;
        std::optional<std::uint32_t> input; ///< of a take
        LprState state = com::tallowcrest::dds_::routing::LPR_RELEASED;
        Clock::time_point answered = Clock::time_point::max(); ///< never, when the bridge died first

        bool matches(const MacroXptOutput& target) const
        {
            return target.lprId == number && target.lprState == state && (!input || target.macroXptInput == *input);
        }
    };

    void loadUntilClosed(koraclient::KoraClient& client);
    void take(koraclient::KoraClient& client);
    void setLpr(koraclient::KoraClient& client);
    /// Different outputs of this controller: of the lower half of its own for takes, of the upper half for locks, so
    /// that nothing is refused.
    std::vector<Output> someOutputs(bool isForTakes);
    std::uint32_t between(std::uint32_t least, std::uint32_t most);
    Request& request(const Output& output, const std::optional<std::uint32_t>& input, LprState state);
    void answered(const std::vector<Output>& outputs, const std::vector<std::uint32_t>& results);
    static bool isAllowed(const MacroXptOutput& target, const std::vector<Request>& requests, Clock::time_point kept);
    static std::string describe(const testsupport::RouterRecord& record, const Output& output,
                                const std::vector<Request>& requests, Clock::time_point kept);

    static std::atomic<std::uint32_t> s_nextNumber;

    const std::uint32_t m_share;
    const std::uint32_t m_numControllers;
    std::mt19937 m_random;
    std::map<Output, std::vector<Request>> m_requests;
    std::set<Output> m_released; ///< by this load, so that a lock is not refused
    std::uint32_t m_firstOfLoad = 0;
    Figures m_done;
    std::atomic<bool> m_hasDoneEverything{false};
    std::string m_failure;
};

} // namespace e2e
