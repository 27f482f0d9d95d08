#include "tools/koractl/LprCommands.h"

#include <algorithm>
#include <memory>

#include "koracommand/WireLayout.h"
#include "tools/koractl/Arguments.h"
#include "tools/koractl/HolderLookup.h"
#include "tools/koractl/LprReport.h"

namespace koractl
{
namespace
{

struct Arguments
{
    std::uint32_t lprId = 0;
    bool isForced = false;
    std::vector<OutputAddress> outputs;
};

std::vector<LprRow> setAll(KoraClient& client, const Arguments& arguments, LprCommand lprCommand)
{
    constexpr std::size_t perMessage = wireLayout::entryListReq::maxEntries;
    std::vector<LprRow> rows;
    for (std::size_t at = 0; at < arguments.outputs.size(); at += perMessage)
    {
        std::vector<LprEntry> entries;
        const std::size_t end = std::min(at + perMessage, arguments.outputs.size());
        for (std::size_t i = at; i < end; ++i)
        {
            entries.push_back(LprEntry{.level = arguments.outputs[i].level,
                                       .output = arguments.outputs[i].output,
                                       .command = lprCommand,
                                       .lprId = arguments.lprId});
        }
        const LprResult answer = client.setOutputLpr(entries);
        for (std::size_t i = 0; i < entries.size(); ++i)
        {
            rows.push_back(LprRow{.entry = entries[i], .result = answer.results[i], .holder = std::nullopt});
        }
    }
    HolderLookup holders(client);
    for (LprRow& row : rows)
    {
        row.holder = holders.ask(row.entry.level, row.entry.output, row.result);
    }
    return rows;
}

/// The command added, and its arguments for further options.
std::pair<CLI::App*, std::shared_ptr<Arguments>> addLpr(CLI::App& app, CommandContext& context, const std::string& name,
                                                        const std::string& description, LprCommand lprCommand)
{
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* const command = app.add_subcommand(name, description);
    addNumber(*command, "--lpr-id", arguments->lprId, "the controller's lprId (default 0)");
    addParsedList(*command, "outputs", arguments->outputs, &parseOutputAddress, "LEVEL:OUTPUT", "the outputs")
        ->required();
    command->callback([&context, arguments, name, lprCommand] {
        context.choose([&context, arguments, name, lprCommand] {
            KoraClient client = context.connect();
            const LprCommand effective = arguments->isForced ? LprCommand::forcedRelease : lprCommand;
            return context.finish(LprReport(name, setAll(client, *arguments, effective)));
        });
    });
    return {command, arguments};
}

} // namespace

void addLprCommands(CLI::App& app, CommandContext& context)
{
    addLpr(app, context, "lock", "Lock outputs against every take", LprCommand::lock);
    addLpr(app, context, "protect", "Protect outputs against takes with another lprId", LprCommand::protect);
    const auto [release, arguments] =
        addLpr(app, context, "release", "Release locked or protected outputs", LprCommand::release);
    release->add_flag("--force", arguments->isForced, "release whoever holds the output");
}

} // namespace koractl
