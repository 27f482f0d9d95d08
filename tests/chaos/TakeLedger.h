#pragma once

#include "tests/chaos/Crosspoint.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace chaos
{

class Verdict;

/// Checks that every take (and lock or protection) that the bridge acknowledged is on the bus, unchanged, in time, and
/// is never undone by an older one; and that what it refused is not there. Each request has a number of its own, which
/// travels as its holder. One request per output at a time. Thread-safe.
class TakeLedger
{
public:
    struct Request
    {
        std::uint32_t number = 0;
        std::optional<std::uint32_t> input;    ///< of a take
        std::optional<std::uint32_t> lprState; ///< of a lock, protection or release, as on the bus
    };
    /// One sample of a target topic, as an independent reader got it.
    struct Sighting
    {
        std::string partition;
        Crosspoint crosspoint;
        std::uint32_t number = 0;
        std::uint32_t input = 0;
        std::uint32_t lprState = 0;
        std::uint64_t writer = 0; ///< whose sample it is
        std::int64_t written = 0; ///< nanoseconds, by the writer's clock
    };
    struct Figures
    {
        std::size_t acknowledged = 0;
        std::size_t refused = 0;
        std::size_t refusedTakes = 0; ///< of these; no lock is in a take's way
        std::size_t unanswered = 0;
        std::size_t found = 0;
        Clock::duration longest{0};
    };

    TakeLedger(Verdict& verdict, Clock::duration bound) : m_verdict(verdict), m_bound(bound) {}

    /// Before the request is sent; false (and nothing noted) when the output's last one has not been settled.
    bool sent(const Crosspoint& crosspoint, const Request& request);
    void acknowledged(const Crosspoint& crosspoint, Clock::time_point when);
    void refused(const Crosspoint& crosspoint);
    /// The connection ended before the answer.
    void unanswered(const Crosspoint& crosspoint);
    /// Whether this request has been sent and not been seen.
    bool expects(const Crosspoint& crosspoint, std::uint32_t number) const;
    void seen(const Sighting& sighting, Clock::time_point when);
    /// Looks for what has not come in time.
    void check(Clock::time_point now);
    /// How many acknowledged requests have not been seen yet.
    std::size_t awaited() const;
    Figures figures() const;

private:
    struct Open
    {
        Request request;
        std::optional<Clock::time_point> acknowledged;
        std::optional<Clock::time_point> seen;
    };
    struct Newest
    {
        std::uint32_t number = 0;
        std::uint64_t writer = 0;
        std::int64_t written = 0;
    };

    void settle(std::map<Crosspoint, Open>::iterator open);
    void checkOrder(const Sighting& sighting);

    Verdict& m_verdict;
    const Clock::duration m_bound;
    mutable std::mutex m_mutex;
    std::map<Crosspoint, Open> m_open;
    std::map<std::uint32_t, Clock::time_point> m_overdue; ///< when they were acknowledged
    std::map<std::pair<std::string, Crosspoint>, Newest> m_newest;
    Figures m_figures;
};

} // namespace chaos
