#include "koraclient/AskOutputs.h"
#include "koraclient/Errors.h"
#include "koracommand/WireLayout.h"
#include "tools/koractl/common/Arguments.h"
#include "tools/koractl/common/Commands.h"
#include "tools/koractl/common/OutputsReport.h"

#include <limits>
#include <memory>

namespace koractl
{

namespace
{

using koraclient::askLevelExists;
using koraclient::ChangeRows;
using koraclient::ChangesWalk;
using koraclient::KoraClient;
using koraclient::OutputLpr;
using koraclient::OutputRow;
using koraclient::OutputStatus;
using koraclient::ProtocolError;
using koraclient::TallyEntry;

struct QueryArguments
{
    std::string levelText;
    std::string firstText;
    std::uint32_t level = 0;
    std::uint32_t first = 0;
    std::uint32_t count = 0;
    std::uint32_t format = 2;
};

/// Asks for `count` outputs in as many requests as it takes. `ask(first, count)` returns the rows of one answer.
template <class Ask>
std::vector<OutputRow> collect(const QueryArguments& arguments, Ask ask)
{
    std::vector<OutputRow> rows;
    while (rows.size() < arguments.count)
    {
        const auto had = static_cast<std::uint32_t>(rows.size());
        const std::vector<OutputRow> part = ask(arguments.first + had, arguments.count - had);
        if (part.empty())
        {
            throw ProtocolError("the bridge answered only " + std::to_string(had) + " of " +
                                std::to_string(arguments.count) + " outputs");
        }
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

std::vector<OutputRow> askTally(KoraClient& client, std::uint32_t level, std::uint32_t first, std::uint32_t count)
{
    std::vector<OutputRow> rows;
    for (const TallyEntry& entry : client.tally(level, first, count).entries)
    {
        rows.push_back(OutputRow{.output = first + static_cast<std::uint32_t>(rows.size()),
                                 .result = entry.result,
                                 .input = entry.input,
                                 .lpr = std::nullopt});
    }
    return rows;
}

std::vector<OutputRow> askStatus(KoraClient& client, std::uint32_t format, std::uint32_t level, std::uint32_t first,
                                 std::uint32_t count)
{
    std::vector<OutputRow> rows;
    for (const OutputStatus& entry : client.outputStatus(format, level, first, count).entries)
    {
        OutputRow row{.output = first + static_cast<std::uint32_t>(rows.size()),
                      .result = entry.result,
                      .input = entry.input,
                      .lpr = std::nullopt};
        if (format != wireLayout::getOutputStatusRsp::shortFormat)
        {
            row.lpr = OutputLpr{.state = entry.lprState, .lprId = entry.lprId};
        }
        rows.push_back(row);
    }
    return rows;
}

/// A command with the positionals LEVEL FIRST COUNT.
CLI::App* addRangeCommand(CLI::App& app, const std::string& name, const std::string& description,
                          const std::shared_ptr<QueryArguments>& arguments)
{
    CLI::App* const command = app.add_subcommand(name, description);
    command->add_option("level", arguments->levelText, "the level's number or name")->type_name("LEVEL")->required();
    command->add_option("first", arguments->firstText, "the first output")->type_name("OUTPUT")->required();
    addNumber(*command, "count", arguments->count, "how many outputs, at least 1")->required();
    return command;
}

/// Reads level and first output; a usage error unless the range has outputs and ends within the numbers there are.
void readRange(CommandContext& context, QueryArguments& arguments)
{
    arguments.level = resolved("level", [&] { return context.reader().level(arguments.levelText); });
    arguments.first = resolved("first", [&] { return context.reader().output(arguments.level, arguments.firstText); });
    if (arguments.count == 0)
    {
        throw CLI::ValidationError("count", "must be at least 1");
    }
    if (arguments.count - 1 > std::numeric_limits<std::uint32_t>::max() - arguments.first)
    {
        throw CLI::ValidationError("count", "goes beyond output 4294967295");
    }
}

void addTally(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<QueryArguments>();
    CLI::App* const command = addRangeCommand(app, "tally", "Show the inputs routed to outputs", arguments);
    command->callback([&context, arguments] {
        readRange(context, *arguments);
        context.chooseQuery("tally", [&context, arguments](KoraClient& client) {
            auto rows = collect(*arguments, [&](std::uint32_t first, std::uint32_t count) {
                return askTally(client, arguments->level, first, count);
            });
            return std::make_unique<OutputsReport>("tally", arguments->level, nlohmann::ordered_json::object(),
                                                   std::move(rows), context.names());
        });
    });
}

void addStatus(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<QueryArguments>();
    CLI::App* const command =
        addRangeCommand(app, "status", "Show the inputs, lock states and holders of outputs", arguments);
    addNumber(*command, "--format", arguments->format, outputFormatText);
    command->callback([&context, arguments] {
        readRange(context, *arguments);
        context.chooseQuery("status", [&context, arguments](KoraClient& client) {
            auto rows = collect(*arguments, [&](std::uint32_t first, std::uint32_t count) {
                return askStatus(client, arguments->format, arguments->level, first, count);
            });
            return std::make_unique<OutputsReport>("status", arguments->level,
                                                   nlohmann::ordered_json{{"format", arguments->format}},
                                                   std::move(rows), context.names());
        });
    });
}

} // namespace

void addQueryCommands(CLI::App& app, CommandContext& context)
{
    addTally(app, context);
    addStatus(app, context);
}

namespace
{

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
    ChangesWalk walk(client, arguments.format, arguments.level);
    do
    {
        const ChangeRows part = walk.next();
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
        context.chooseQuery("changes", [&context, arguments](KoraClient& client) {
            return std::make_unique<OutputsReport>(changesReport(client, *arguments, context.names()));
        });
    });
}

} // namespace koractl
