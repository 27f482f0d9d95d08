#include "tools/koractl/ChangesCommands.h"

#include <memory>

#include "tools/koractl/Arguments.h"
#include "tools/koractl/ChangeRows.h"
#include "tools/koractl/OutputsReport.h"
#include "tools/koractl/StopSignal.h"
#include "tools/koractl/Watch.h"
#include "tools/koractl/WatchPrinter.h"

namespace koractl
{
namespace
{

struct ChangesArguments
{
    std::string levelText;
    std::uint32_t level = 0;
    std::uint32_t format = 2;
    bool isOnce = false;
};

struct WatchArguments
{
    std::vector<std::string> texts;
    std::vector<std::uint32_t> levels;
    Watch::Settings settings;
    bool isStaying = false;
};

constexpr const char* formatText = "1: without lock state; any other: with it (default 2)";

OutputsReport changesReport(KoraClient& client, const ChangesArguments& arguments, const Names& names)
{
    ChangeRows all;
    do
    {
        const ChangeRows part = askChanges(client, arguments.format, arguments.level);
        all.rows.insert(all.rows.end(), part.rows.begin(), part.rows.end());
        all.more = part.more;
    } while (all.more && !arguments.isOnce);
    const bool isMissing = all.rows.empty() && !askLevelExists(client, arguments.level);
    OutputsReport report("changes", arguments.level, {{"format", arguments.format}, {"complete", !all.more}},
                         std::move(all.rows), names);
    if (isMissing)
    {
        report.markLevelMissing();
    }
    return report;
}

ExitStatus runWatch(CommandContext& context, const WatchArguments& arguments)
{
    WatchPrinter printer(context);
    Watch watch([&context] { return context.connect(); }, arguments.levels, arguments.settings, printer);
    watch.start();
    // Only now: until here a signal ends the program at once, however long the bridge takes to answer.
    StopSignal stop;
    watch.run(stop);
    return ExitStatus::done;
}

void addChanges(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<ChangesArguments>();
    CLI::App* const command =
        app.add_subcommand("changes", "Show the outputs that changed since this connection began: all of them");
    command->add_option("level", arguments->levelText, "the level's number or name")->type_name("LEVEL")->required();
    addNumber(*command, "--format", arguments->format, formatText);
    command->add_flag("--once", arguments->isOnce, "ask once, even if the bridge has more");
    command->callback([&context, arguments] {
        arguments->level = resolved("level", [&] { return context.reader().level(arguments->levelText); });
        context.chooseRequest("changes", [&context, arguments](KoraClient& client) {
            return std::make_unique<OutputsReport>(changesReport(client, *arguments, context.names()));
        });
    });
}

void addWatch(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<WatchArguments>();
    CLI::App* const command =
        app.add_subcommand("watch", "Print each change of levels as it comes, one line each, until Ctrl-C");
    command->add_option("levels", arguments->texts, "the levels' numbers or names")->type_name("LEVEL")->required();
    addNumber(*command, "--format", arguments->settings.format, formatText);
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

} // namespace

void addChangesCommands(CLI::App& app, CommandContext& context)
{
    addChanges(app, context);
    addWatch(app, context);
}

} // namespace koractl
