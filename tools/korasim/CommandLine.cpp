#include "tools/korasim/CommandLine.h"

#include "tools/korasim/WordReader.h"

#include <CLI/CLI.hpp>

#include <stdexcept>
#include <string>

namespace korasim
{

namespace
{

MatrixSize parseSize(const std::string& text)
{
    WordReader words(text, "x");
    MatrixSize size;
    size.inputs = words.number("inputs");
    size.outputs = words.number("outputs");
    words.end();
    return size;
}

std::pair<Signal, std::uint32_t> parseRefused(const std::string& text)
{
    WordReader words(text, ":");
    const Signal signal = words.signal();
    const std::uint32_t output = words.number("output");
    words.end();
    return {signal, output};
}

com::tallowcrest::dds_::routing::MacroLevel parseLevel(const std::string& text)
{
    WordReader words(text, ",");
    const auto level = words.level();
    words.end();
    return level;
}

/// Makes the error of one option a complaint of the argument parser.
template <typename Parse>
auto option(const std::string& name, Parse&& parse)
{
    return [name, parse](const std::string& text) {
        try
        {
            parse(text);
        }
        catch (const std::invalid_argument& error)
        {
            throw CLI::ValidationError(name, error.what());
        }
    };
}

} // namespace

std::optional<CommandLine> parseCommandLine(int argc, char** argv, int& status)
{
    CommandLine result;
    auto& router = result.router;
    CLI::App app("Plays a router on the routing bus: announces itself, follows the crosspoint targets and reports "
                 "their status. Reads commands from standard input, one per line; \"help\" lists them.",
                 "korasim");
    app.set_version_flag("--version", "korasim " KORABRIDGE_VERSION);
    app.add_option("--frame", router.frameId, "frame that is a member of the router")->capture_default_str();
    app.add_option("--partition", router.partition, "router partition, at most 16 characters")
        ->capture_default_str()
        ->check([](const std::string& text) {
            return text.size() <= 16 ? std::string() : std::string("longer than 16 characters");
        });
    app.add_option("--member-index", router.memberIndex, "index of the frame within the router")->capture_default_str();
    app.add_option_function<std::string>(
           "--video-size", option("--video-size", [&](const std::string& text) { router.video = parseSize(text); }),
           "number of video inputs and outputs [288x288]")
        ->type_name("INPUTSxOUTPUTS");
    app.add_option_function<std::string>(
           "--audio-size", option("--audio-size", [&](const std::string& text) { router.audio = parseSize(text); }),
           "number of audio inputs and outputs [2304x2304]")
        ->type_name("INPUTSxOUTPUTS");
    // A function option is called once for each time it is given.
    app.add_option_function<std::string>(
           "--level", option("--level", [&](const std::string& text) { router.levels.push_back(parseLevel(text)); }),
           "add a level, for example 3,video,1,16,1,1,16,1; may be repeated")
        ->type_name("ID,video|audio,FIRST_INPUT,INPUTS,CONTROLLER_INPUT,FIRST_OUTPUT,OUTPUTS,CONTROLLER_OUTPUT")
        ->trigger_on_parse();
    app.add_option_function<std::string>(
           "--refuse", option("--refuse", [&](const std::string& text) { router.refused.insert(parseRefused(text)); }),
           "ignore the targets of an output, for example video:7; may be repeated")
        ->type_name("video|audio:OUTPUT")
        ->trigger_on_parse();
    app.add_option_function<std::uint32_t>(
           "--status-delay", [&](const std::uint32_t& delay) { router.statusDelay = std::chrono::milliseconds(delay); },
           "milliseconds from a target to its status [0]")
        ->type_name("MS");
    app.add_flag("--exit-at-eof", result.isExitingAtEof,
                 "end with the input instead of at a signal, with status 1 if a line of it failed");
    app.add_flag("--silent", result.isSilentStart, "publish nothing until the command \"announce\"");
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        constexpr int wrongArguments = 2;
        status = app.exit(error) == 0 ? 0 : wrongArguments; // 0: help or version was asked for
        return std::nullopt;
    }
    return result;
}

} // namespace korasim
