#include "tools/koractl/SystemCommands.h"

#include <memory>

#include "tools/koractl/Arguments.h"
#include "tools/koractl/SystemReports.h"

namespace koractl
{
namespace
{

void addPartition(CLI::App& app, CommandContext& context)
{
    app.add_subcommand("partition", "Show the partition information")->callback([&context] {
        context.choose([&context] { return context.finish(partitionReport(context.connect().partitionInfo())); });
    });
}

void addPort(CLI::App& app, CommandContext& context)
{
    app.add_subcommand("port", "Show the router port's presence")->callback([&context] {
        context.choose([&context] { return context.finish(portReport(context.connect().portPresent())); });
    });
}

void addSystem(CLI::App& app, CommandContext& context)
{
    const auto format = std::make_shared<std::uint32_t>(4);
    CLI::App* const command = app.add_subcommand("system", "Show the system status");
    addNumber(*command, "format", *format, "0, 2, 4 (default) or 6; any other is answered as 4");
    command->callback([&context, format] {
        context.choose(
            [&context, format] { return context.finish(systemReport(context.connect().systemStatus(*format))); });
    });
}

void addCard(CLI::App& app, CommandContext& context)
{
    const auto word = std::make_shared<std::uint32_t>(0);
    CLI::App* const command = app.add_subcommand("card", "Show the presence of a control card");
    addNumber(*command, "card", *word, "the card (default 0)");
    command->callback([&context, word] {
        context.choose([&context, word] { return context.finish(cardReport(context.connect().cardPresence(*word))); });
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
