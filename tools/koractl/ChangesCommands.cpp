#include "tools/koractl/ChangesCommands.h"

#include <memory>

#include "tools/koractl/Arguments.h"
#include "tools/koractl/ChangeRows.h"
#include "tools/koractl/OutputsReport.h"
#include "tools/koractl/StopSignal.h"
#include "tools/koractl/Watch.h"

namespace koractl
{
namespace
{

struct ChangesArguments
{
    std::uint32_t level = 0;
    std::uint32_t format = 2;
    bool isOnce = false;
};

struct WatchArguments
{
    std::vector<std::uint32_t> levels;
    std::uint32_t format = 2;
    std::chrono::milliseconds interval{500};
};

constexpr const char* formatText = "1: without lock state; any other: with it (default 2)";

OutputsReport changesReport(KoraClient& client, const ChangesArguments& arguments)
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
                         std::move(all.rows));
    if (isMissing)
    {
        report.markLevelMissing();
    }
    return report;
}

ExitStatus runWatch(const CommandContext& context, const WatchArguments& arguments, bool json)
{
    KoraClient client = context.connect();
    for (const std::uint32_t level : arguments.levels)
    {
        if (!askLevelExists(client, level))
        {
            context.warn("level " + std::to_string(level) + " does not exist yet; waiting for it");
        }
    }
    Watch watch(client, arguments.format, arguments.levels, [&](std::uint32_t level, const OutputRow& row) {
        context.printLine(json ? watchJson(level, row) : watchLine(level, row));
    });
    // Only now: until here a signal ends the program at once, however long the bridge takes to answer.
    StopSignal stop;
    watch.run(arguments.interval, stop);
    return ExitStatus::done;
}

void addChanges(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<ChangesArguments>();
    CLI::App* const command =
        app.add_subcommand("changes", "Show the outputs that changed since this connection began: all of them");
    addNumber(*command, "level", arguments->level, "the level's number")->required();
    addNumber(*command, "--format", arguments->format, formatText);
    command->add_flag("--once", arguments->isOnce, "ask once, even if the bridge has more");
    command->callback([&context, arguments] {
        context.choose([&context, arguments] {
            KoraClient client = context.connect();
            return context.finish(changesReport(client, *arguments));
        });
    });
}

void addWatch(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<WatchArguments>();
    CLI::App* const command =
        app.add_subcommand("watch", "Print each change of levels as it comes, one line each, until Ctrl-C");
    addParsedList(*command, "levels", arguments->levels, &parseNumber, "LEVEL", "the levels' numbers")->required();
    addNumber(*command, "--format", arguments->format, formatText);
    addParsed(*command, "--interval", arguments->interval, &parseDuration, "DURATION",
              "time between polls (default 500ms)");
    command->callback([&context, arguments] {
        context.choose([&context, arguments] { return runWatch(context, *arguments, context.options().json); });
    });
}

} // namespace

void addChangesCommands(CLI::App& app, CommandContext& context)
{
    addChanges(app, context);
    addWatch(app, context);
}

} // namespace koractl
