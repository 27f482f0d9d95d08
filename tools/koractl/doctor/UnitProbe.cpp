#include "tools/koractl/doctor/UnitProbe.h"

#include "koraclient/ClientSocket.h"
#include "runtime/util/UniqueFd.h"
#include "runtime/util/VisibleText.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace koractl
{
namespace
{

using com::tallowcrest::util::UniqueFd;

/// A program whose output is read; ended and reaped with the object.
class Program
{
public:
    explicit Program(std::vector<std::string> words)
    {
        std::array<int, 2> ends{-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        {
            return;
        }
        m_output = UniqueFd(ends[0]);
        const UniqueFd input(ends[1]);
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (std::string& word : words)
        {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, input.get(), STDOUT_FILENO);
        ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        if (::posix_spawnp(&m_process, arguments.front(), &actions, nullptr, arguments.data(), environ) != 0)
        {
            m_process = -1;
        }
        ::posix_spawn_file_actions_destroy(&actions);
    }
    ~Program() { (void)end(); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// All of its output, if it ends well within the time.
    std::optional<std::string> output(std::chrono::milliseconds timeout)
    {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        std::string text;
        while (m_process > 0 && koraclient::waitUntilReady(m_output.get(), POLLIN, deadline))
        {
            std::array<char, 4096> buffer{};
            const ssize_t got = ::read(m_output.get(), buffer.data(), buffer.size());
            if (got > 0)
            {
                text.append(buffer.data(), static_cast<std::size_t>(got));
            }
            else if (got == 0)
            {
                int status = 0;
                const bool hasEnded = ::waitpid(m_process, &status, 0) == m_process;
                m_process = -1;
                return hasEnded && status == 0 ? std::optional(text) : std::nullopt;
            }
            else if (errno != EINTR)
            {
                break;
            }
        }
        return std::nullopt;
    }

private:
    int end()
    {
        if (m_process > 0)
        {
            ::kill(m_process, SIGKILL);
            return ::waitpid(m_process, nullptr, 0);
        }
        return 0;
    }

    pid_t m_process = -1;
    UniqueFd m_output;
};

} // namespace

UnitFacts readUnit(const std::string& text)
{
    UnitFacts facts;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        const std::size_t equals = std::min(line.find('='), line.size());
        const std::string property = line.substr(0, equals);
        const std::string value =
            equals < line.size() ? com::tallowcrest::util::visibleText(line.substr(equals + 1)) : "";
        if (property == "LoadState")
        {
            facts.isLoaded = value == "loaded";
        }
        else if (property == "ActiveState")
        {
            facts.active = value;
        }
        else if (property == "Result")
        {
            facts.result = value;
        }
        else if (property == "StatusText")
        {
            facts.status = value;
        }
        else if (property == "NRestarts")
        {
            facts.restarts = static_cast<std::uint32_t>(std::strtoul(value.c_str(), nullptr, 10));
        }
    }
    return facts;
}

std::optional<UnitFacts> probeUnit(const std::string& systemctl, std::chrono::milliseconds timeout)
{
    const auto text =
        Program({systemctl, "show", "korabridge", "--property=LoadState,ActiveState,Result,StatusText,NRestarts"})
            .output(timeout);
    return text ? std::optional(readUnit(*text)) : std::nullopt;
}

} // namespace koractl
