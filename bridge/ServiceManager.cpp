#include "bridge/ServiceManager.h"

#include "runtime/apartment/ApartmentCall.h"
#include "runtime/util/UniqueFd.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace apartment = com::tallowcrest::apartment;
using com::tallowcrest::util::UniqueFd;

namespace
{

const char* environment(const char* name)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment after the start
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// The manager's socket: a path, or with @ in front a name that is in no directory.
std::string_view managersSocket()
{
    return environment("NOTIFY_SOCKET");
}

/// What the library of systemd does for a notice, without the eight tenths of a MiB and the seven libraries that it
/// brings into the process. False when it was not taken; nothing is waited for.
bool notify(std::string_view message)
{
    const std::string_view name = managersSocket();
    sockaddr_un address{};
    if (name.empty() || name.size() >= sizeof address.sun_path)
    {
        return false;
    }
    address.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), std::begin(address.sun_path));
    if (address.sun_path[0] == '@')
    {
        address.sun_path[0] = '\0';
    }
    const UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    return socket.isOpen() && ::sendto(socket.get(), message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                                       reinterpret_cast<const sockaddr*>(&address), size) >= 0;
}

/// How long the manager lets pass without a sign of life; empty when it does not watch this process.
std::optional<std::chrono::microseconds> watchdogTime()
{
    const std::string_view process = environment("WATCHDOG_PID");
    const std::string_view time = environment("WATCHDOG_USEC");
    std::int64_t microseconds = 0;
    const bool isMeant = process.empty() || process == std::to_string(::getpid());
    const auto parsed = std::from_chars(time.data(), time.data() + time.size(), microseconds);
    if (!isMeant || parsed.ec != std::errc() || microseconds <= 0)
    {
        return std::nullopt;
    }
    return std::chrono::microseconds(microseconds);
}

} // namespace

ServiceManager::ServiceManager(apartment::SendDoItEvent& apartment, std::shared_ptr<apartment::AlarmClock> clock,
                               Questions questions)
    : m_questions(std::move(questions)), m_alarm(std::move(clock), [this] { tell(); })
{
    if (managersSocket().empty())
    {
        return;
    }
    if (const auto time = watchdogTime())
    {
        // Three chances, so that one late look ends nobody.
        m_interval = std::min(usualInterval, std::chrono::duration_cast<std::chrono::milliseconds>(*time / 3));
    }
    // Alarms are set by the apartment.
    apartment::post(apartment, std::make_unique<apartment::ApartmentCallEvent<bool>>([this] {
                        m_readyAnyway = m_alarm.now() + readyLimit;
                        tell();
                        return true;
                    }));
}

void ServiceManager::stopping()
{
    static_cast<void>(notify("STOPPING=1")); // nobody asks, or whoever does not listen any more need not know
}

void ServiceManager::tell()
{
    // First, so that trouble with the rest of it does not end the bridge.
    m_alarm.set(m_alarm.now() + (m_isReady ? m_interval : std::min(m_interval, readyInterval)));
    std::string message = "WATCHDOG=1";
    const bool isReady = m_isReady || m_questions.isUp() || m_alarm.now() >= m_readyAnyway;
    if (isReady && !m_isReady)
    {
        message += "\nREADY=1";
    }
    std::string status = m_questions.status();
    if (status != m_status)
    {
        message += "\nSTATUS=" + status;
    }
    if (notify(message)) // else it is all said again
    {
        m_isReady = isReady;
        m_status = std::move(status);
    }
}
