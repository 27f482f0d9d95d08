#include "koraclient/AskOutputs.h"
#include "koraclient/SendInParts.h"
#include "tools/koractl/commands/EntryReports.h"
#include "tools/koractl/common/Arguments.h"
#include "tools/koractl/common/Commands.h"

#include <memory>

namespace koractl
{

namespace
{

using koraclient::HolderLookup;
using koraclient::KoraClient;
using koraclient::LprCommand;
using koraclient::LprEntry;
using koraclient::PartsOutcome;
using koraclient::sendInParts;
using koraclient::TakeEntry;

struct TakeArguments
{
    std::uint32_t lprId = 0;
    std::vector<std::string> texts;
    std::vector<TakeEntry> entries;
};

TakeReport takeReport(KoraClient& client, const std::string& name, const std::vector<TakeEntry>& entries,
                      bool isCoherent, const Names& names)
{
    const PartsOutcome parts = sendInParts(entries, [&](const std::vector<TakeEntry>& part) {
        return isCoherent ? client.coherentTake(entries) : client.take(part); // coherent: one message, or too long
    });
    HolderLookup holders(client);
    std::vector<TakeRow> rows;
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        rows.push_back(TakeRow{.entry = entries[i], .outcome = parts.outcomes[i], .holder = std::nullopt});
        if (!parts.trouble)
        {
            rows.back().holder = holders.ask(entries[i].level, entries[i].output, rows.back().outcome.result);
        }
    }
    TakeReport report(name, std::move(rows), names);
    report.setTrouble(parts.trouble);
    return report;
}

void addTake(CLI::App& app, CommandContext& context, const std::string& name, const std::string& description,
             bool isCoherent)
{
    const auto arguments = std::make_shared<TakeArguments>();
    CLI::App* const command = app.add_subcommand(name, description);
    addNumber(*command, "--lpr-id", arguments->lprId,
              "the controller's lprId (default 0, which passes every protection)");
    command->add_option("entries", arguments->texts, "the crosspoints to take, in this order")
        ->type_name("LEVEL:INPUT:OUTPUT")
        ->required();
    command->callback([&context, arguments, name, isCoherent] {
        resolved("entries", [&] {
            for (const std::string& text : arguments->texts)
            {
                arguments->entries.push_back(context.reader().takeEntry(text, arguments->lprId));
            }
        });
        context.chooseRequest(name, [&context, arguments, name, isCoherent](KoraClient& client) {
            return std::make_unique<TakeReport>(
                takeReport(client, name, arguments->entries, isCoherent, context.names()));
        });
    });
}

} // namespace

void addTakeCommands(CLI::App& app, CommandContext& context)
{
    addTake(app, context, "take", "Route inputs to outputs", false);
    addTake(app, context, "coherent-take", "Route inputs to outputs in one coherent message", true);
}

namespace
{

struct LprArguments
{
    std::uint32_t lprId = 0;
    bool isForced = false;
    std::vector<std::string> texts;
    std::vector<OutputAddress> outputs;
};

LprReport setAll(KoraClient& client, const std::string& name, const LprArguments& arguments, LprCommand lprCommand,
                 const Names& names)
{
    std::vector<LprEntry> entries;
    for (const OutputAddress& address : arguments.outputs)
    {
        entries.push_back(LprEntry{
            .level = address.level, .output = address.output, .command = lprCommand, .lprId = arguments.lprId});
    }
    const PartsOutcome parts =
        sendInParts(entries, [&](const std::vector<LprEntry>& part) { return client.setOutputLpr(part).results; });
    HolderLookup holders(client);
    std::vector<LprRow> rows;
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        rows.push_back(LprRow{.entry = entries[i], .outcome = parts.outcomes[i], .holder = std::nullopt});
        if (!parts.trouble)
        {
            rows.back().holder = holders.ask(entries[i].level, entries[i].output, parts.outcomes[i].result);
        }
    }
    LprReport report(name, std::move(rows), names);
    report.setTrouble(parts.trouble);
    return report;
}

/// The command added, and its arguments for further options.
std::pair<CLI::App*, std::shared_ptr<LprArguments>> addLpr(CLI::App& app, CommandContext& context,
                                                           const std::string& name, const std::string& description,
                                                           LprCommand lprCommand)
{
    const auto arguments = std::make_shared<LprArguments>();
    CLI::App* const command = app.add_subcommand(name, description);
    addNumber(*command, "--lpr-id", arguments->lprId, "the controller's lprId (default 0)");
    command->add_option("outputs", arguments->texts, "the outputs")->type_name("LEVEL:OUTPUT")->required();
    command->callback([&context, arguments, name, lprCommand] {
        resolved("outputs", [&] {
            for (const std::string& text : arguments->texts)
            {
                arguments->outputs.push_back(context.reader().outputAddress(text));
            }
        });
        context.chooseRequest(name, [&context, arguments, name, lprCommand](KoraClient& client) {
            const LprCommand effective = arguments->isForced ? LprCommand::forcedRelease : lprCommand;
            return std::make_unique<LprReport>(setAll(client, name, *arguments, effective, context.names()));
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
