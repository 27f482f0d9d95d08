#pragma once

#include "runtime/util/UniqueFd.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <queue>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace e2e
{

/// Joins network interfaces as a switch does, and as badly as it is told to: each frame may be lost, come twice, and
/// come later than one that was sent after it. One seed decides. Thread-safe.
class BadSwitch
{
public:
    struct Weather
    {
        unsigned lostPercent = 0;
        unsigned twicePercent = 0;
        std::chrono::milliseconds latest{0}; ///< a frame comes at any time up to then
    };

    /// `ports` are the descriptors of the interfaces.
    BadSwitch(std::vector<com::tallowcrest::util::UniqueFd> ports, std::uint64_t seed);
    ~BadSwitch();
    BadSwitch(const BadSwitch&) = delete;
    BadSwitch& operator=(const BadSwitch&) = delete;

    void setWeather(const Weather& weather);
    /// Ports of this set hear each other only, and so do the others.
    void split(std::set<std::size_t> ports);
    void mend() { split({}); }

private:
    using Clock = std::chrono::steady_clock;
    struct Frame
    {
        Clock::time_point due;
        std::uint64_t number = 0; ///< in the order of arrival
        std::size_t port = 0;
        std::vector<std::uint8_t> bytes;

        bool operator>(const Frame& other) const { return due != other.due ? due > other.due : number > other.number; }
    };

    void run();
    void receive(std::size_t port);
    void plan(std::size_t to, const std::vector<std::uint8_t>& bytes);
    bool chance(unsigned percent) { return m_random() % 100 < percent; }
    /// Sends what is due; milliseconds until the next, -1 when there is none.
    int sendDue();

    const std::vector<com::tallowcrest::util::UniqueFd> m_ports;
    std::atomic<bool> m_isStopping{false};
    std::mutex m_mutex; ///< guards what follows
    std::mt19937_64 m_random;
    Weather m_weather;
    std::set<std::size_t> m_side;
    std::uint64_t m_frames = 0;
    std::priority_queue<Frame, std::vector<Frame>, std::greater<>> m_planned;
    std::thread m_thread;
};

} // namespace e2e
