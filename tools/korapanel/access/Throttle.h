#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

namespace korapanel
{

/// Slows down who shows wrong tokens: after each the same address has to wait, a second at first, then twice as long,
/// up to a minute. Remembers so many addresses and forgets the one that waits least. Belongs to one thread.
class Throttle
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t mostAddresses = 1024;
    static constexpr std::chrono::seconds firstWait{1};
    static constexpr std::chrono::seconds longestWait{60};

    /// How long the address still has to wait; 0 when it may try.
    std::chrono::seconds waitOf(const std::string& address, Clock::time_point now) const;
    void failed(const std::string& address, Clock::time_point now);
    void succeeded(const std::string& address) { m_failures.erase(address); }
    std::size_t size() const { return m_failures.size(); }

private:
    struct Failure
    {
        std::chrono::seconds wait{0};
        Clock::time_point until;
    };
    std::map<std::string, Failure> m_failures;
};

} // namespace korapanel
