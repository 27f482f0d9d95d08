#include "tests/e2e/durable/BadSwitch.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace e2e
{

namespace
{

constexpr int lookAgainMs = 20;
constexpr std::size_t longestFrame = 2048;

} // namespace

BadSwitch::BadSwitch(std::vector<com::tallowcrest::util::UniqueFd> ports, std::uint64_t seed)
    : m_ports(std::move(ports)), m_random(seed), m_thread([this] { run(); })
{}

BadSwitch::~BadSwitch()
{
    m_isStopping = true;
    m_thread.join();
}

void BadSwitch::setWeather(const Weather& weather)
{
    const std::lock_guard lock(m_mutex);
    m_weather = weather;
}

void BadSwitch::split(std::set<std::size_t> ports)
{
    const std::lock_guard lock(m_mutex);
    m_side = std::move(ports);
}

void BadSwitch::run()
{
    std::vector<pollfd> waits;
    for (const auto& port : m_ports)
    {
        waits.push_back({.fd = port.get(), .events = POLLIN, .revents = 0});
    }
    while (!m_isStopping)
    {
        const int next = sendDue();
        const int timeout = next < 0 ? lookAgainMs : std::min(next, lookAgainMs);
        if (::poll(waits.data(), waits.size(), timeout) <= 0)
        {
            continue;
        }
        for (std::size_t port = 0; port < waits.size(); ++port)
        {
            if (waits[port].revents != 0)
            {
                receive(port);
            }
        }
    }
}

void BadSwitch::receive(std::size_t port)
{
    std::array<std::uint8_t, longestFrame> buffer{};
    ssize_t size = 0;
    while ((size = ::read(m_ports[port].get(), buffer.data(), buffer.size())) > 0)
    {
        const std::vector<std::uint8_t> bytes(buffer.begin(), buffer.begin() + size);
        const std::lock_guard lock(m_mutex);
        // Whom a frame is for is the interfaces' business: each takes what bears its own address.
        for (std::size_t to = 0; to < m_ports.size(); ++to)
        {
            if (to != port && m_side.contains(to) == m_side.contains(port) && !chance(m_weather.lostPercent))
            {
                plan(to, bytes);
                if (chance(m_weather.twicePercent))
                {
                    plan(to, bytes);
                }
            }
        }
    }
}

void BadSwitch::plan(std::size_t to, const std::vector<std::uint8_t>& bytes)
{
    const auto latest = std::chrono::duration_cast<std::chrono::microseconds>(m_weather.latest).count();
    const std::chrono::microseconds delay(
        latest == 0 ? 0 : static_cast<std::int64_t>(m_random() % static_cast<std::uint64_t>(latest)));
    m_planned.push({Clock::now() + delay, ++m_frames, to, bytes});
}

int BadSwitch::sendDue()
{
    const std::lock_guard lock(m_mutex);
    while (!m_planned.empty())
    {
        const Frame& next = m_planned.top();
        const auto wait = next.due - Clock::now();
        if (wait > Clock::duration::zero())
        {
            return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(wait).count());
        }
        // An interface that cannot take it loses it, as the real one does.
        [[maybe_unused]] const ssize_t written =
            ::write(m_ports[next.port].get(), next.bytes.data(), next.bytes.size());
        m_planned.pop();
    }
    return -1;
}

} // namespace e2e
