#include "tools/koractl/TakeCommands.h"

#include <algorithm>
#include <memory>

#include "koracommand/WireLayout.h"
#include "tools/koractl/Arguments.h"
#include "tools/koractl/HolderLookup.h"
#include "tools/koractl/TakeReport.h"

namespace koractl
{
namespace
{

struct Arguments
{
    std::uint32_t lprId = 0;
    std::vector<TakeEntry> entries;
};

TakeReport report(KoraClient& client, const std::string& name, const std::vector<TakeEntry>& entries,
                  const std::vector<std::uint32_t>& results)
{
    HolderLookup holders(client);
    std::vector<TakeRow> rows;
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        const TakeEntry& entry = entries[i];
        rows.push_back(TakeRow{
            .entry = entry, .result = results[i], .holder = holders.ask(entry.level, entry.output, results[i])});
    }
    return TakeReport(name, std::move(rows));
}

/// As many messages as the entries need, in order.
std::vector<std::uint32_t> takeAll(KoraClient& client, const std::vector<TakeEntry>& entries)
{
    constexpr std::size_t perMessage = wireLayout::entryListReq::maxEntries;
    std::vector<std::uint32_t> results;
    for (std::size_t at = 0; at < entries.size(); at += perMessage)
    {
        const auto begin = entries.begin() + static_cast<std::ptrdiff_t>(at);
        const auto end = begin + static_cast<std::ptrdiff_t>(std::min(perMessage, entries.size() - at));
        const auto part = client.take(std::vector<TakeEntry>(begin, end));
        results.insert(results.end(), part.begin(), part.end());
    }
    return results;
}

void addTake(CLI::App& app, CommandContext& context, const std::string& name, const std::string& description,
             bool isCoherent)
{
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* const command = app.add_subcommand(name, description);
    addNumber(*command, "--lpr-id", arguments->lprId,
              "the controller's lprId (default 0, which passes every protection)");
    addParsedList(
        *command, "entries", arguments->entries, [](const std::string& text) { return parseTakeEntry(text, 0); },
        "LEVEL:INPUT:OUTPUT", "the crosspoints to take, in this order")
        ->required();
    command->callback([&context, arguments, name, isCoherent] {
        for (TakeEntry& entry : arguments->entries)
        {
            entry.lprId = arguments->lprId;
        }
        context.choose([&context, arguments, name, isCoherent] {
            KoraClient client = context.connect();
            const auto results =
                isCoherent ? client.coherentTake(arguments->entries) : takeAll(client, arguments->entries);
            return context.finish(report(client, name, arguments->entries, results));
        });
    });
}

} // namespace

void addTakeCommands(CLI::App& app, CommandContext& context)
{
    addTake(app, context, "take", "Route inputs to outputs", false);
    addTake(app, context, "coherent-take", "Route inputs to outputs in one coherent message", true);
}

} // namespace koractl
