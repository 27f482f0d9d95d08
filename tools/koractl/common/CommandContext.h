#pragma once

#include "koraclient/KoraClient.h"
#include "tools/koractl/common/AddressReader.h"
#include "tools/koractl/common/Names.h"
#include "tools/koractl/common/Report.h"
#include "tools/koractl/common/Terminal.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>

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

/// Where the program reads and writes.
struct ProgramStreams
{
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    Terminal terminal{};
};

/// What all commands share: the options before the command, the streams, and the command that was chosen. Owned by one
/// run of the program, one thread.
class CommandContext
{
public:
    explicit CommandContext(const ProgramStreams& streams) : m_streams(streams) {}

    struct Options
    {
        std::string host = "127.0.0.1";
        std::uint16_t port = koraclient::KoraClient::defaultPort;
        std::chrono::milliseconds timeout = koraclient::KoraClient::defaultTimeout;
        bool json = false;
        std::string namesFile;
        std::uint32_t latencyCount = 0; ///< how often to repeat the request and measure it; 0: once, without
    };
    Options& options() { return m_options; }
    const Options& options() const { return m_options; }
    const ProgramStreams& streams() const { return m_streams; }

    /// The names of the user's file, read at the first call; throws FileError. Only once the arguments are parsed.
    const Names& names();
    AddressReader reader() { return AddressReader(names()); }

    /// Called while the arguments are parsed; the command runs afterwards.
    void choose(std::function<ExitStatus()> command);
    /// The same for a command that asks the bridge and reports; such a command can be measured.
    void chooseRequest(const std::string& name,
                       std::function<std::unique_ptr<Report>(koraclient::KoraClient&)> request);
    /// Runs the chosen command; what it throws passes through.
    ExitStatus runChosen() const { return m_chosen(); }

    koraclient::KoraClient connect() const
    {
        return koraclient::KoraClient(m_options.host, m_options.port, m_options.timeout);
    }

    /// Prints a report in the wanted form; the status says whether all was done. Throws the report's trouble then.
    ExitStatus finish(const Report& report) const;
    /// Prints one line and flushes it; throws when the output takes no more.
    void printLine(const std::string& line) const;
    /// A remark for the user on the error stream.
    void warn(const std::string& text) const;
    void flush() const;

private:
    const ProgramStreams m_streams;
    Options m_options;
    std::optional<Names> m_names;
    std::function<ExitStatus()> m_chosen;
};

} // namespace koractl
