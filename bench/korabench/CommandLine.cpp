#include "bench/korabench/CommandLine.h"

#include "koracommand/WireLayout.h"

#include <CLI/CLI.hpp>

#include <stdexcept>
#include <string>

namespace korabench
{

namespace
{

constexpr double mostSeconds = 3600;
constexpr std::uint32_t mostThreads = 64;
constexpr std::uint32_t mostConnections = 1000;

} // namespace

void LoadOptions::addTo(CLI::App& app)
{
    app.add_option("--connections", connections, "number of controllers")
        ->capture_default_str()
        ->check(CLI::Range(1U, mostConnections));
    app.add_option("--threads", threads, "number of threads that drive them")
        ->capture_default_str()
        ->check(CLI::Range(1U, mostThreads));
    app.add_option("--warm-up", warmUpSeconds, "seconds before the measurement")
        ->capture_default_str()
        ->check(CLI::Range(0.0, mostSeconds));
    app.add_option("--duration", seconds, "seconds of measurement")
        ->capture_default_str()
        ->check(CLI::Range(0.0, mostSeconds));
    app.add_option("--interval", intervalMilliseconds,
                   "milliseconds from one request of a controller to its next; 0 waits for the response alone")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1000 * mostSeconds));
    app.add_flag("--json", isJson, "print one JSON object instead of text");
}

namespace
{

void addRequestOptions(CLI::App& app, CommandLine& result)
{
    RequestShape& shape = result.shape;
    app.add_option_function<std::string>(
           "--mix",
           [&result](const std::string& text) {
               try
               {
                   result.order = parseMix(text);
               }
               catch (const std::invalid_argument& error)
               {
                   throw CLI::ValidationError("--mix", error.what());
               }
           },
           "commands and their shares, for example take:8,changes:2 [take]. Commands: take, coherent-take, protect, "
           "release, tally, status, changes, partition, port, system, card, unknown")
        ->type_name("COMMAND[:SHARE],...");
    app.add_option("--level", shape.level, "level of all requests")->capture_default_str();
    app.add_option("--first-output", shape.firstOutput, "first output of the level")->capture_default_str();
    app.add_option("--outputs", shape.outputs, "number of outputs, from the first on")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--first-input", shape.firstInput, "first input of the level")->capture_default_str();
    app.add_option("--inputs", shape.inputs, "number of inputs, from the first on")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--entries", shape.entries, "entries in each take, protect or release")
        ->capture_default_str()
        ->check(CLI::Range(0U, wireLayout::entryListReq::maxEntries));
    app.add_option("--count", shape.count, "outputs in each tally or status")
        ->capture_default_str()
        ->check(CLI::Range(0U, wireLayout::tallyRsp::maxEntries));
    app.add_option("--format", shape.format, "format of the status, of changes and of the system status")
        ->capture_default_str();
    app.add_option("--lpr-id", shape.lprId, "id of the holder in takes, protects and releases")->capture_default_str();
    app.add_flag("--identity", shape.isIdentity, "expect the input of its own number on every output, and check it");
}

} // namespace

std::optional<CommandLine> parseCommandLine(int argc, char** argv, int& status)
{
    CommandLine result;
    CLI::App app(
        "Puts a bridge under the load of controllers. Each controller sends a request, waits for the response, checks "
        "it and sends the next. Prints requests and takes per second, and latencies. Ends with status 1 at the first "
        "wrong response.",
        "korabench");
    app.add_option("--host", result.endpoint.address, "the bridge's name or address")->capture_default_str();
    app.add_option("--port", result.endpoint.port, "the bridge's controller port")->capture_default_str();
    result.load.addTo(app);
    addRequestOptions(app, result);
    app.add_option("--await-changes", result.load.awaitedChanges,
                   "end when every controller has seen this many changes, or with status 1 when the duration is over. "
                   "Prints \"ready\" when all have polled until nothing is left")
        ->capture_default_str();
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        constexpr int wrongArguments = 2;
        status = app.exit(error) == 0 ? 0 : wrongArguments; // 0: help was asked for
        return std::nullopt;
    }
    return result;
}

} // namespace korabench
