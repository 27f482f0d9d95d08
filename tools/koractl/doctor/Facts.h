#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace koractl
{

/// What was seen of a bridge. Plain values; what could not be seen is absent, and nothing is concluded from it.

/// How the port for controllers behaves.
enum class PortState
{
    answers,     ///< as a bridge does
    refused,     ///< the machine is there, nobody listens
    noAnswer,    ///< nothing comes back
    unreachable, ///< there is no way there
    unknownHost,
    closes,  ///< accepts, and closes before it has answered
    silent,  ///< accepts, and does not answer
    foreign, ///< answers something else
};

/// What a controller sees.
struct LinkFacts
{
    PortState port = PortState::noAnswer;
    std::string problem{};                             ///< the system's words; empty where it answers
    std::optional<std::chrono::microseconds> answer{}; ///< how long the first answer took
    std::optional<std::chrono::seconds> clockAhead{};  ///< the bridge's clock before this machine's; to the second
    /// Outputs of levels 1 and 2, and those of them of which the router has said anything.
    std::optional<std::uint32_t> outputs{};
    std::uint32_t known = 0;
};

/// What an operator sees; looked at only where the port for controllers is closed.
struct ConsoleFacts
{
    enum class State
    {
        answers,
        refused,
        noAnswer, ///< or no way there
        busy,     ///< somebody else is connected
    };
    State state = State::noAnswer;
    std::optional<std::string> partition{};     ///< of the target table; empty: has not joined a router
    std::optional<std::uint32_t> controllers{}; ///< connected
};

/// What the service manager says.
struct UnitFacts
{
    bool isLoaded = false;
    std::string active{}; ///< "active", "inactive", "failed", "activating" ...
    std::string result{}; ///< "success", "exit-code", "watchdog", "exec-condition" ...
    std::string status{}; ///< the bridge's own line
    std::uint32_t restarts = 0;
};

/// What the end of the log says; only of the present start, if that is in it.
struct LogFacts
{
    std::string version{};             ///< of the start that is in it
    std::string storeTrouble{};        ///< the line, while it lasts
    std::string portTaken{};           ///< the same
    std::string failedJoin{};          ///< the same
    std::string lackOfResources{};     ///< the same
    std::string silentNeighbours{};    ///< the last such line
    std::string refusedTargets{};      ///< the same
    std::string slowReader{};          ///< the same
    std::string lastError{};           ///< the last line at ERROR
    std::uint32_t errors = 0;          ///< lines at ERROR
    std::optional<bool> isConnected{}; ///< to the router, by the last line that says so
};

/// What the metrics file says; a metric that the bridge does not write is absent.
struct MetricsFacts
{
    std::chrono::seconds age{0}; ///< since it was written
    std::string version{};
    std::optional<double> controllers{};
    std::optional<double> storeUsable{};
    std::optional<double> joins{};
    std::optional<double> readersMatched{}; ///< the topic that has the fewest
    std::optional<double> neighbours{};
    std::optional<double> gateDropped{}; ///< samples, for any reason
};

/// What only the bridge's own machine tells.
struct MachineFacts
{
    std::optional<UnitFacts> unit{}; ///< absent without systemd
    std::optional<LogFacts> log{};
    std::string logProblem{}; ///< why the log could not be read
    std::optional<MetricsFacts> metrics{};
    std::optional<bool> isClockSynchronised{}; ///< by the kernel
};

struct Facts
{
    std::string host{};
    std::uint16_t port = 0;
    LinkFacts link;
    std::optional<ConsoleFacts> console{};
    std::optional<MachineFacts> machine{}; ///< absent where the host is another machine

    /// As far as anything tells; empty: nothing does.
    std::string version() const;
};

} // namespace koractl
