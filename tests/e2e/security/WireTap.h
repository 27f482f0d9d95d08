#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

namespace e2e
{

/// Listens to everything that goes over the loopback interface of this network namespace, as somebody on the plant
/// network could. Needs root, or the namespace of tests/support/in-namespace. Thread-safe.
class WireTap
{
public:
    /// Throws std::runtime_error when the system permits no tap.
    WireTap();
    ~WireTap();
    WireTap(const WireTap&) = delete;
    WireTap& operator=(const WireTap&) = delete;

    /// Whether the bytes were seen in one packet, as they are.
    bool hasSeen(const std::string& bytes) const;
    std::size_t packets() const;

private:
    void run();

    const int m_socket;
    std::atomic<bool> m_isEnding{false};
    mutable std::mutex m_mutex;
    std::string m_seen;
    std::size_t m_packets = 0;
    std::thread m_thread;
};

} // namespace e2e
