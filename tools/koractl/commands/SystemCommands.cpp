#include "tools/koractl/common/Commands.h"

#include <memory>

#include "tools/koractl/commands/WordReports.h"
#include "tools/koractl/common/Arguments.h"

namespace koractl
{
namespace
{

using koraclient::KoraClient;

void addPartition(CLI::App& app, CommandContext& context)
{
    app.add_subcommand("partition", "Show the partition information")->callback([&context] {
        context.chooseRequest("partition", [](KoraClient& client) {
            return std::make_unique<WordsReport>(partitionReport(client.partitionInfo()));
        });
    });
}

void addPort(CLI::App& app, CommandContext& context)
{
    app.add_subcommand("port", "Show the router port's presence")->callback([&context] {
        context.chooseRequest(
            "port", [](KoraClient& client) { return std::make_unique<WordsReport>(portReport(client.portPresent())); });
    });
}

void addSystem(CLI::App& app, CommandContext& context)
{
    const auto format = std::make_shared<std::uint32_t>(4);
    CLI::App* const command = app.add_subcommand("system", "Show the system status");
    addNumber(*command, "format", *format, "0, 2, 4 (default) or 6; any other is answered as 4");
    command->callback([&context, format] {
        context.chooseRequest("system", [format](KoraClient& client) {
            return std::make_unique<WordsReport>(systemReport(client.systemStatus(*format)));
        });
    });
}

void addCard(CLI::App& app, CommandContext& context)
{
    const auto word = std::make_shared<std::uint32_t>(0);
    CLI::App* const command = app.add_subcommand("card", "Show the presence of a control card");
    addNumber(*command, "card", *word, "the card (default 0)");
    command->callback([&context, word] {
        context.chooseRequest("card", [word](KoraClient& client) {
            return std::make_unique<WordsReport>(cardReport(client.cardPresence(*word)));
        });
    });
}

} // namespace

void addSystemCommands(CLI::App& app, CommandContext& context)
{
    addPartition(app, context);
    addPort(app, context);
    addSystem(app, context);
    addCard(app, context);
}

} // namespace koractl
