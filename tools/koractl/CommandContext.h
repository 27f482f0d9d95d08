#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

#include "tools/koractl/KoraClient.h"
#include "tools/koractl/Report.h"

namespace koractl
{

/// Exit statuses of the program.
enum class ExitStatus : int
{
    done = 0,    ///< every entry was done
    refused = 1, ///< the bridge refused at least one entry
    usage = 2,   ///< wrong arguments; nothing was sent
    trouble = 3, ///< no connection, no answer, or not the answer to what was asked
};

/// What all commands share: the options before the command, the streams, and the command that was chosen. Owned by one
/// run of the program, one thread.
class CommandContext
{
public:
    CommandContext(std::ostream& out, std::ostream& err) : m_out(out), m_err(err) {}

    struct Options
    {
        std::string host = "127.0.0.1";
        std::uint16_t port = KoraClient::defaultPort;
        std::chrono::milliseconds timeout = KoraClient::defaultTimeout;
        bool json = false;
    };
    Options& options() { return m_options; }

    /// Called while the arguments are parsed; the command runs afterwards.
    void choose(std::function<ExitStatus()> command) { m_chosen = std::move(command); }
    /// Runs the chosen command; what it throws passes through.
    ExitStatus runChosen() const { return m_chosen(); }

    KoraClient connect() const { return KoraClient(m_options.host, m_options.port, m_options.timeout); }

    /// Prints a report in the wanted form; the status says whether all was done.
    ExitStatus finish(const Report& report) const;
    /// Prints one line and flushes it; throws when the output takes no more.
    void printLine(const std::string& line) const;
    /// A remark for the user on the error stream.
    void warn(const std::string& text) const;

private:
    void flush() const;

    std::ostream& m_out;
    std::ostream& m_err;
    Options m_options;
    std::function<ExitStatus()> m_chosen;
};

} // namespace koractl
