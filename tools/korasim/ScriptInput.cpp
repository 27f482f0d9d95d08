#include "tools/korasim/ScriptInput.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace korasim
{

ScriptInput::ScriptInput()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_signals.reset(signalfd(-1, &signals, SFD_CLOEXEC));
    if (!m_signals.isOpen())
    {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

std::optional<std::string> ScriptInput::nextLine()
{
    while (!m_isSignalled)
    {
        if (const std::size_t end = m_buffer.find('\n'); end != std::string::npos)
        {
            std::string line = m_buffer.substr(0, end);
            m_buffer.erase(0, end + 1);
            return line;
        }
        if (m_isInputEnded)
        {
            // A last line without an end is a line all the same.
            return m_buffer.empty() ? std::nullopt : std::optional(std::exchange(m_buffer, {}));
        }
        if (!waitForInput(true, -1))
        {
            continue;
        }
        std::array<char, 4096> chunk{};
        const ssize_t count = read(STDIN_FILENO, chunk.data(), chunk.size());
        if (count > 0)
        {
            m_buffer.append(chunk.data(), static_cast<std::size_t>(count));
        }
        else if (count == 0 || errno != EINTR)
        {
            m_isInputEnded = true;
        }
    }
    return std::nullopt;
}

void ScriptInput::waitForSignal()
{
    while (!m_isSignalled)
    {
        waitForInput(false, -1);
    }
}

bool ScriptInput::pause(std::chrono::milliseconds time)
{
    using std::chrono::milliseconds;
    const auto end = std::chrono::steady_clock::now() + time;
    auto left = time;
    do
    {
        waitForInput(false, static_cast<int>(std::clamp(left, milliseconds(0), milliseconds(60'000)).count()));
        left = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now());
    } while (!m_isSignalled && left > milliseconds::zero());
    return !m_isSignalled;
}

bool ScriptInput::waitForInput(bool isInputWanted, int milliseconds)
{
    std::array<pollfd, 2> entries{pollfd{.fd = m_signals.get(), .events = POLLIN, .revents = 0},
                                  pollfd{.fd = isInputWanted ? STDIN_FILENO : -1, .events = POLLIN, .revents = 0}};
    if (poll(entries.data(), entries.size(), milliseconds) < 0 && errno != EINTR)
    {
        throw std::system_error(errno, std::generic_category(), "poll");
    }
    m_isSignalled = m_isSignalled || (entries[0].revents & POLLIN) != 0;
    return !m_isSignalled && entries[1].revents != 0;
}

} // namespace korasim
