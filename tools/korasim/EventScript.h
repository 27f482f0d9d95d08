#pragma once

#include "tools/korasim/SimulatedRouter.h"
#include "tools/korasim/WordReader.h"

#include <chrono>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>

namespace korasim
{

/// Carries out the commands of an event script on a router, one a line; empty lines and lines that begin with '#' are
/// passed over. Owned by one thread. A line that is not a command, or that the bus refuses, changes nothing more than
/// what it did before it failed: the error goes to the error stream with the line's number, and the script goes on.
class EventScript
{
public:
    enum class Outcome
    {
        GoOn,
        Quit
    };

    /// Waits for a while; false when the program is to end instead.
    using Pause = std::function<bool(std::chrono::milliseconds)>;

    EventScript(SimulatedRouter& router, std::ostream& out, std::ostream& errors, Pause pause);

    Outcome runLine(const std::string& line);
    /// Lines that failed so far.
    std::size_t errorCount() const { return m_errorCount; }

private:
    struct Command
    {
        std::string arguments;
        std::string help;
        std::function<void(WordReader&)> run;
    };

    void addMembershipCommands();
    void addCrosspointCommands();
    void addScriptCommands();
    void waitForTarget(Signal signal, std::uint32_t output, std::uint32_t input, std::chrono::milliseconds timeout);
    void showHelp() const;
    void showStatus() const;

    SimulatedRouter& m_router;
    std::ostream& m_out;
    std::ostream& m_errors;
    Pause m_pause;
    std::map<std::string, Command> m_commands;
    std::size_t m_lineNumber = 0;
    std::size_t m_errorCount = 0;
    bool m_isQuitting = false;
};

} // namespace korasim
