#include "tools/koractl/CommandLine.h"

#include "tools/common/FileLines.h"
#include "tools/koractl/common/Arguments.h"
#include "tools/koractl/common/CommandContext.h"
#include "tools/koractl/common/Commands.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <ostream>

namespace koractl
{
namespace
{

std::uint16_t parsePort(const std::string& text)
{
    const std::uint32_t port = parseNumber(text);
    if (port == 0 || port > 65535)
    {
        throw std::invalid_argument("'" + text + "' is not a port from 1 to 65535");
    }
    return static_cast<std::uint16_t>(port);
}

void addGlobalOptions(CLI::App& app, CommandContext::Options& options)
{
    app.add_option("--host", options.hosts,
                   "the bridge's name or address (default 127.0.0.1); repeated: bridges of one router, of which the "
                   "next is used when one is gone")
        ->type_name("HOST")
        ->take_all()
        ->allow_extra_args(false);
    addParsed(app, "--port", options.port, &parsePort, "PORT", "the bridge's controller port (default 5194)");
    addParsed(app, "--timeout", options.timeout, &parseDuration, "DURATION",
              "how long to wait for the connection and for each answer (default 2s)");
    app.add_flag("--json", options.json, "print one JSON object instead of a table");
    app.add_option("--names", options.namesFile, "a file of names of levels, inputs and outputs")
        ->type_name("FILE")
        ->envname("KORACTL_NAMES");
    addNumber(app, "--latency", options.latencyCount,
              "repeat the command's request this often and print percentiles of the answer time")
        ->type_name("COUNT");
    app.set_version_flag("--version", std::string("koractl ") + KORABRIDGE_VERSION);
    app.require_subcommand(1);
    app.footer(
        "Numbers are decimal, or hexadecimal with 0x. Durations: 500ms, 2s, 1min.\n"
        "Exit status: 0 all done, 1 something refused or wrong, 2 wrong arguments, 3 no connection or a wrong answer.");
}

int parseAndRun(CLI::App& app, const CommandContext& context, const std::vector<std::string>& arguments,
                const ProgramStreams& streams)
{
    try
    {
        // The library takes the arguments last one first.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    }
    catch (const CLI::Success& wish)
    {
        app.exit(wish, streams.out, streams.err); // --help or --version
        return static_cast<int>(ExitStatus::done);
    }
    catch (const CLI::ParseError& problem)
    {
        const std::vector<std::string> rest = app.remaining();
        const bool isUnknownCommand = app.get_subcommands().empty() && !rest.empty();
        context.warn(isUnknownCommand ? "there is no command '" + rest.front() + "'" : problem.what());
        streams.err << "Run koractl with --help for more information.\n";
        return static_cast<int>(ExitStatus::usage);
    }
    return static_cast<int>(context.runChosen());
}

} // namespace

int runCommandLine(const std::vector<std::string>& arguments, const ProgramStreams& streams)
{
    CommandContext context(streams);
    try
    {
        CLI::App app("Controls a router through korabridge.", "koractl");
        app.fallthrough();
        addGlobalOptions(app, context.options());
        addTakeCommands(app, context);
        addLprCommands(app, context);
        addQueryCommands(app, context);
        addChangesCommand(app, context);
        addWatchCommand(app, context);
        addMatrixCommand(app, context);
        addBackupCommands(app, context);
        addSystemCommands(app, context);
        addDoctorCommand(app, context);
        addRawCommand(app, context);
        return parseAndRun(app, context, arguments, streams);
    }
    catch (const FileError& problem)
    {
        context.warn(problem.what());
        return static_cast<int>(ExitStatus::usage);
    }
    catch (const std::length_error& problem)
    {
        context.warn(problem.what());
        return static_cast<int>(ExitStatus::usage);
    }
    catch (const std::exception& problem)
    {
        context.warn(problem.what());
        return static_cast<int>(ExitStatus::trouble);
    }
}

} // namespace koractl
