#pragma once

#include "tests/chaos/Processes.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace flatness
{

/// How much a bridge gets to do.
struct Amount
{
    std::size_t commands = 0;
    std::size_t connections = 0;
    std::size_t joins = 0;
    std::size_t sessions = 0;

    /// The same with each number divided, but at least one of each.
    Amount dividedBy(std::size_t divisor) const;
};

/// Drives a bridge: commands on several connections, controllers that come and go, joins and console sessions, all at
/// the same time, one kind as long as the other as far as it goes. Throws what went wrong first.
class Load
{
public:
    Load(chaos::BridgeProcess& bridge, chaos::RouterProcess& router) : m_bridge(bridge), m_router(router) {}

    /// Returns when all is done. `onProgress` is called about once a second.
    void perform(const Amount& amount, const std::function<void(const Amount&)>& onProgress);
    /// Of all calls so far.
    Amount done() const;

    /// The text of the bridge's log by which completed joins are counted; two for each.
    static constexpr const char* joinText = "Back  waiting for historical data)";

private:
    void sendCommands(std::size_t count, std::uint32_t seed);
    void connectAndLeave(std::size_t count, std::uint32_t seed);
    void join(std::size_t count);
    void lookAtConsole(std::size_t count);
    void guard(const std::function<void()>& work);

    chaos::BridgeProcess& m_bridge;
    chaos::RouterProcess& m_router;
    std::atomic<std::size_t> m_commands{0};
    std::atomic<std::size_t> m_connections{0};
    std::atomic<std::size_t> m_joins{0};
    std::atomic<std::size_t> m_sessions{0};
    std::atomic<bool> m_isFailed{false};
    std::exception_ptr m_failure;
};

/// What the console prints for one choice, without the menu around it.
std::string askConsole(const std::string& choice);

} // namespace flatness
