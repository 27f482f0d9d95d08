#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

namespace com::tallowcrest::util
{

/// Decides which of many equal log lines are written: a few per interval, the rest is counted. Thread-safe.
class LogLimit
{
public:
    using Clock = std::chrono::steady_clock;

    /// At most `burst` lines in each `interval`.
    LogLimit(int burst, Clock::duration interval) : m_burst(burst), m_interval(interval) {}
    LogLimit(const LogLimit&) = delete;
    LogLimit& operator=(const LogLimit&) = delete;
    /// One line, until `clear`.
    static LogLimit once() { return {1, Clock::duration::max()}; }

    /// True when a line that is due `now` is to be written; otherwise it is counted.
    bool allow(Clock::time_point now = Clock::now());
    /// Forgets all: what is due next is news.
    void clear();
    /// How many lines were held back since the last call.
    std::uint32_t takeHeldBack();

private:
    const int m_burst;
    const Clock::duration m_interval;
    std::mutex m_mutex; // guards everything below
    Clock::time_point m_begin;
    int m_written = 0;
    std::uint32_t m_heldBack = 0;
};

} // namespace com::tallowcrest::util
