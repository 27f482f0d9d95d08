#pragma once

#include "koraclient/BridgeHosts.h"
#include "koraclient/KoraClient.h"
#include "tools/common/AddressReader.h"
#include "tools/common/Names.h"
#include "tools/koractl/common/Report.h"
#include "tools/koractl/common/Terminal.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

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
        std::vector<std::string> hosts{"127.0.0.1"}; ///< bridges of one router, the preferred one first
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
    /// A command that asks the bridge and reports. Such a command can be measured.
    using Request = std::function<std::unique_ptr<Report>(koraclient::KoraClient&)>;
    /// The same for a command that changes something: sent once, whatever becomes of the answer.
    void chooseRequest(const std::string& name, Request request);
    /// The same for a command that only asks: when the bridge goes away meanwhile, the next one is asked.
    void chooseQuery(const std::string& name, Request request);
    /// Runs the chosen command; what it throws passes through.
    ExitStatus runChosen() const { return m_chosen(); }

    /// The bridges that the user named. Only once the arguments are parsed.
    koraclient::BridgeHosts& hosts();
    /// A connection to the current bridge, or to the next that is not gone; says why it went by others.
    koraclient::KoraClient connect();
    /// For those who connect again: each connection but the first begins with the bridge behind the one that was lost,
    /// and nothing is said.
    std::function<koraclient::KoraClient()> connector();
    /// Where there are several bridges: that this one did not answer, and how to see what came of it.
    void sayNotSentAgain();

    /// Prints a report in the wanted form; the status says whether all was done. Throws the report's trouble then.
    ExitStatus finish(const Report& report) const;
    /// Prints one line and flushes it; throws when the output takes no more.
    void printLine(const std::string& line) const;
    /// A remark for the user on the error stream.
    void warn(const std::string& text) const;
    void flush() const;

private:
    std::unique_ptr<Report> ask(const std::string& name, const Request& request);

    const ProgramStreams m_streams;
    Options m_options;
    std::optional<Names> m_names;
    std::optional<koraclient::BridgeHosts> m_hosts;
    std::function<ExitStatus()> m_chosen;
};

} // namespace koractl
