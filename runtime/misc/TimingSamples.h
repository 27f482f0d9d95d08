#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <string>
#include <vector>

namespace com::tallowcrest::misc
{

/// An in-memory ring of the latest 20000 time-stamped samples, switched on and off from the operator's menu.
/// Thread-safe. While sampling is off, `record` costs one relaxed load.
class TimingSamples
{
public:
    using Clock = std::chrono::system_clock;

    /// How `writeSamples` writes a time difference of d microseconds.
    enum class Resolution : std::int32_t
    {
        Native = 0,                   ///< d
        Microseconds = 1,             ///< milliseconds with 3 decimals
        HundredthsOfMilliseconds = 2, ///< milliseconds with 2 decimals, cut
        TenthsOfMilliseconds = 3,     ///< milliseconds with 1 decimal, cut
        Milliseconds = 4              ///< whole milliseconds, cut
    };

    static constexpr std::size_t capacity = 20000;
    static constexpr const char* defaultPath = "/var/log/arcwright/korabridge.csv";

    /// `now` gives the time stamps; tests hand in their own. It is called under the recorder's mutex.
    explicit TimingSamples(std::function<Clock::time_point()> now = &Clock::now);
    TimingSamples(const TimingSamples&) = delete;
    TimingSamples& operator=(const TimingSamples&) = delete;

    /// Stores two values with the current time; returns at once while sampling is off.
    void record(std::uint32_t first, std::uint32_t second)
    {
        if (m_enabled.load(std::memory_order_relaxed))
        {
            store(first, second);
        }
    }

    /// Chooses `Microseconds` and switches sampling on. Samples already held stay.
    void start();
    /// Switches sampling off, writes what was collected to `path` and empties the ring, whether or not it could be
    /// written.
    void stop(const std::string& path = defaultPath);
    bool isEnabled() const { return m_enabled.load(std::memory_order_relaxed); }
    std::size_t count() const;

    Resolution resolution() const;
    void setResolution(Resolution resolution);

    /// One line per sample, oldest first: time since the oldest, first value, second value in hexadecimal.
    void writeSamples(std::ostream& stream) const;
    /// `writeSamples` into a file, truncating it. What fails is told on standard output.
    void writeFile(const std::string& path) const;
    /// Prints the resolution in use and the clock's period to the console.
    void showDescription() const;

private:
    struct Sample
    {
        std::uint32_t first;
        std::uint32_t second;
        Clock::rep ticks;
    };

    void store(std::uint32_t first, std::uint32_t second);
    void writeHeld(std::ostream& stream) const;
    void writeHeldToFile(const std::string& path) const;

    const std::function<Clock::time_point()> m_now;
    std::atomic<bool> m_enabled{false};
    mutable std::mutex m_mutex; // guards everything below
    std::vector<Sample> m_ring; ///< empty until sampling is switched on
    std::size_t m_writeIndex = 0;
    std::size_t m_count = 0;
    std::size_t m_oldestIndex = 0;
    Resolution m_resolution = Resolution::Native;
};

/// The process's one recorder.
TimingSamples& timingSamples();

} // namespace com::tallowcrest::misc
