#include "koraclient/AskOutputs.h"
#include "koraclient/Watch.h"
#include "koracommand/ResultCode.h"
#include "tools/common/StopSignal.h"
#include "tools/koractl/common/Arguments.h"
#include "tools/koractl/common/Commands.h"
#include "tools/koractl/common/OutputsReport.h"
#include "tools/koractl/matrix/MatrixReport.h"
#include "tools/koractl/matrix/MatrixScreen.h"

#include <memory>

namespace koractl
{
namespace
{

using koraclient::askSnapshot;
using koraclient::KoraClient;
using koraclient::Watch;

struct MatrixArguments
{
    std::string levelText;
    std::uint32_t level = 0;
    std::optional<NumberRange> outputs;
    std::optional<NumberRange> inputs;
    bool isFollowing = false;
    bool isOnce = false;
    std::chrono::milliseconds interval{500};
    std::uint32_t width = 0; ///< 0: the terminal's
    std::string color = "auto";
};

ExitStatus printOnce(CommandContext& context, const MatrixArguments& arguments, MatrixModel model, std::size_t width,
                     bool hasColor)
{
    KoraClient client = context.connect();
    const auto snapshot = askSnapshot(client, arguments.level);
    if (!snapshot)
    {
        OutputsReport report("matrix", arguments.level, nlohmann::ordered_json::object(), {}, context.names());
        report.markLevelMissing();
        return context.finish(report);
    }
    for (const auto& [output, row] : *snapshot)
    {
        model.apply(row);
    }
    return context.finish(MatrixReport(std::move(model), width, hasColor));
}

ExitStatus runMatrix(CommandContext& context, const MatrixArguments& arguments)
{
    const Terminal& terminal = context.streams().terminal;
    const bool hasColor = arguments.color == "always" || (arguments.color == "auto" && terminal.hasColor);
    const bool isScreen =
        terminal.isInteractive && !arguments.isOnce && !context.options().json && arguments.width == 0;
    const std::size_t width = arguments.width > 0 ? arguments.width : TerminalSize::now().columns;
    MatrixModel model(arguments.level, arguments.outputs, arguments.inputs, context.names());
    if (!isScreen && !arguments.isFollowing)
    {
        return printOnce(context, arguments, std::move(model), width, hasColor);
    }
    const Watch::Settings settings{.format = 2, .interval = arguments.interval, .isReconnecting = true};
    if (isScreen)
    {
        // Before the terminal changes: what is wrong with the connection is said on the plain screen.
        (void)context.connect().portPresent();
        MatrixScreen screen(context, std::move(model), hasColor);
        Watch watch(context.connector(), {arguments.level}, settings, screen);
        watch.start();
        watch.run(screen);
        return ExitStatus::done;
    }
    MatrixPrinter printer(context, std::move(model), width, hasColor);
    Watch watch(context.connector(), {arguments.level}, settings, printer);
    watch.start();
    StopSignal stop;
    watch.run(stop);
    return ExitStatus::done;
}

} // namespace

void addMatrixCommand(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<MatrixArguments>();
    CLI::App* const command = app.add_subcommand(
        "matrix", "Show the crosspoints of a level as a picture; on a terminal live, scrolled with the arrow keys");
    command->add_option("level", arguments->levelText, "the level's number or name")->type_name("LEVEL")->required();
    addParsed(*command, "--outputs", arguments->outputs, &parseRange, "FIRST-LAST", "only these outputs");
    addParsed(*command, "--inputs", arguments->inputs, &parseRange, "FIRST-LAST", "only these inputs");
    CLI::Option* const follow = command->add_flag("--follow", arguments->isFollowing,
                                                  "go on with each change when the output is not a terminal");
    command->add_flag("--once", arguments->isOnce, "print the picture and exit, even on a terminal")->excludes(follow);
    addParsed(*command, "--interval", arguments->interval, &parseDuration, "DURATION",
              "time between polls (default 500ms)");
    addNumber(*command, "--width", arguments->width, "print lines of this width (default: the terminal's)")
        ->type_name("COLUMNS");
    command->add_option("--color", arguments->color, "auto (default; not where NO_COLOR is set), always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}));
    command->callback([&context, arguments] {
        arguments->level = resolved("level", [&] { return context.reader().level(arguments->levelText); });
        context.choose([&context, arguments] { return runMatrix(context, *arguments); });
    });
}

} // namespace koractl
