#include "koraclient/Watch.h"
#include "tools/common/StopSignal.h"
#include "tools/koractl/common/Arguments.h"
#include "tools/koractl/common/Commands.h"
#include "tools/koractl/watch/WatchPrinter.h"

#include <memory>

namespace koractl
{
namespace
{

using koraclient::Watch;

struct WatchArguments
{
    std::vector<std::string> texts;
    std::vector<std::uint32_t> levels;
    Watch::Settings settings;
    bool isStaying = false;
};

ExitStatus runWatch(CommandContext& context, const WatchArguments& arguments)
{
    WatchPrinter printer(context);
    Watch watch(context.connector(), arguments.levels, arguments.settings, printer);
    watch.start();
    // Only now: until here a signal ends the program at once, however long the bridge takes to answer.
    StopSignal stop;
    watch.run(stop);
    return ExitStatus::done;
}

} // namespace

void addWatchCommand(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<WatchArguments>();
    CLI::App* const command =
        app.add_subcommand("watch", "Print each change of levels as it comes, one line each, until Ctrl-C");
    command->add_option("levels", arguments->texts, "the levels' numbers or names")->type_name("LEVEL")->required();
    addNumber(*command, "--format", arguments->settings.format, outputFormatText);
    addParsed(*command, "--interval", arguments->settings.interval, &parseDuration, "DURATION",
              "time between polls (default 500ms)");
    command->add_flag("--no-reconnect", arguments->isStaying, "end when the bridge goes away");
    command->callback([&context, arguments] {
        resolved("levels", [&] {
            for (const std::string& text : arguments->texts)
            {
                arguments->levels.push_back(context.reader().level(text));
            }
        });
        arguments->settings.isReconnecting = !arguments->isStaying;
        context.choose([&context, arguments] { return runWatch(context, *arguments); });
    });
}

} // namespace koractl
