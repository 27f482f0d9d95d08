#include "tools/koractl/common/Commands.h"

#include <memory>

#include "koraclient/AskOutputs.h"
#include "tools/koractl/common/Arguments.h"
#include "tools/koractl/common/OutputsReport.h"

namespace koractl
{
namespace
{

using koraclient::askChanges;
using koraclient::askLevelExists;
using koraclient::ChangeRows;
using koraclient::KoraClient;

struct ChangesArguments
{
    std::string levelText;
    std::uint32_t level = 0;
    std::uint32_t format = 2;
    bool isOnce = false;
};

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

} // namespace

void addChangesCommand(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<ChangesArguments>();
    CLI::App* const command = app.add_subcommand(
        "changes", "Show the outputs that changed for this connection: all of them, because it is new");
    command->add_option("level", arguments->levelText, "the level's number or name")->type_name("LEVEL")->required();
    addNumber(*command, "--format", arguments->format, outputFormatText);
    command->add_flag("--once", arguments->isOnce, "ask once, even if the bridge has more");
    command->callback([&context, arguments] {
        arguments->level = resolved("level", [&] { return context.reader().level(arguments->levelText); });
        context.chooseRequest("changes", [&context, arguments](KoraClient& client) {
            return std::make_unique<OutputsReport>(changesReport(client, *arguments, context.names()));
        });
    });
}

} // namespace koractl
