#include "bench/korabench/CommandLine.h"

#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "koracommand/WireLayout.h"

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
    app.add_option("--connections", connections, "Clients")
        ->capture_default_str()
        ->check(CLI::Range(1U, mostConnections));
    app.add_option("--threads", threads, "Threads that drive them")
        ->capture_default_str()
        ->check(CLI::Range(1U, mostThreads));
    app.add_option("--warm-up", warmUpSeconds, "Seconds before the measurement")
        ->capture_default_str()
        ->check(CLI::Range(0.0, mostSeconds));
    app.add_option("--duration", seconds, "Seconds of measurement")
        ->capture_default_str()
        ->check(CLI::Range(0.0, mostSeconds));
    app.add_option("--interval", intervalMilliseconds,
                   "Milliseconds from one request of a client to its next; 0: at once")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1000 * mostSeconds));
    app.add_flag("--json", isJson, "Print one JSON object");
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
           "Commands and their shares, e.g. take:8,changes:2 [take]; known: take, coherent-take, protect, release, "
           "tally, "
           "status, changes, partition, port, system, card, unknown")
        ->type_name("COMMAND[:SHARE],...");
    app.add_option("--level", shape.level, "Level")->capture_default_str();
    app.add_option("--first-output", shape.firstOutput, "First output of the level")->capture_default_str();
    app.add_option("--outputs", shape.outputs, "Outputs of the level")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--first-input", shape.firstInput, "First input of the level")->capture_default_str();
    app.add_option("--inputs", shape.inputs, "Inputs of the level")->capture_default_str()->check(CLI::PositiveNumber);
    app.add_option("--entries", shape.entries, "Entries in a take, protect or release")
        ->capture_default_str()
        ->check(CLI::Range(0U, wireLayout::entryListReq::maxEntries));
    app.add_option("--count", shape.count, "Outputs in a tally or status")
        ->capture_default_str()
        ->check(CLI::Range(0U, wireLayout::tallyRsp::maxEntries));
    app.add_option("--format", shape.format, "Format of a status, of changes and of a system status")
        ->capture_default_str();
    app.add_option("--lpr-id", shape.lprId, "Holder")->capture_default_str();
    app.add_flag("--identity", shape.isIdentity, "Every output shows the input of its number: check that too");
}

} // namespace

std::optional<CommandLine> parseCommandLine(int argc, char** argv, int& status)
{
    CommandLine result;
    CLI::App app(
        "A load of controllers: each sends a request, waits for its response, checks it and sends the next. "
        "Prints requests and takes a second and the latencies. A wrong response ends the program with status 1.",
        "korabench");
    app.add_option("--host", result.endpoint.address, "name or address of the bridge")->capture_default_str();
    app.add_option("--port", result.endpoint.port, "Its port")->capture_default_str();
    result.load.addTo(app);
    addRequestOptions(app, result);
    app.add_option("--await-changes", result.load.awaitedChanges,
                   "End as soon as every controller has seen so many changes, with status 1 after the duration without "
                   "them; prints \"ready\" when all have polled until nothing was left")
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
