#pragma once

#include "tests/chaos/Crosspoint.h"

#include <array>
#include <functional>
#include <iosfwd>
#include <map>
#include <mutex>
#include <string>

namespace chaos
{

class Verdict;

/// Checks that each well-behaved controller's request is answered in time, and keeps how long the answers took.
/// Thread-safe.
class AnswerTimes
{
public:
    /// How much of the time between two moments this program itself was held up by the machine.
    using Stalled = std::function<Clock::duration(Clock::time_point, Clock::time_point)>;

    AnswerTimes(Verdict& verdict, Clock::duration bound, Stalled stalled)
        : m_verdict(verdict), m_bound(bound), m_stalled(std::move(stalled))
    {}

    /// What is going on at the moment, for the report of a slow answer.
    void setCircumstance(const std::string& text);
    /// Carries out one request and measures it; what it throws passes through.
    template <typename Request>
    auto measure(const std::string& command, Request&& request)
    {
        const auto begin = Clock::now();
        auto answer = request();
        answered(command, begin, Clock::now());
        return answer;
    }
    void answered(const std::string& command, Clock::time_point begin, Clock::time_point end);

    std::size_t count() const;
    /// The longest of all answers.
    Clock::duration longest() const;
    void print(std::ostream& out) const;

private:
    /// Durations by size: each class is an eighth longer than the one before.
    struct Times
    {
        std::array<std::size_t, 160> classes{};
        std::size_t count = 0;
        Clock::duration longest{0};
        std::string circumstance; ///< of the longest

        /// The upper end of the class in which the given part of all durations ends, in milliseconds.
        double quantile(double part) const;
    };

    Verdict& m_verdict;
    const Clock::duration m_bound;
    const Stalled m_stalled;
    mutable std::mutex m_mutex;
    std::string m_circumstance = "start";
    std::map<std::string, Times> m_times;
};

} // namespace chaos
