#include "koraclient/AskOutputs.h"

#include <algorithm>

#include "koracommand/ResultCode.h"
#include "koracommand/WireLayout.h"

namespace koraclient
{

ChangeRows askChanges(KoraClient& client, std::uint32_t format, std::uint32_t level)
{
    const OutputChanges changes = client.outputChanges(format, level);
    ChangeRows result{.rows = {}, .more = changes.more};
    for (const OutputChange& change : changes.entries)
    {
        OutputRow row{.output = change.output, .result = change.result, .input = change.input, .lpr = std::nullopt};
        if (format != wireLayout::getOutputChangesRsp::shortFormat)
        {
            row.lpr = OutputLpr{.state = change.lprState, .lprId = change.lprId};
        }
        result.rows.push_back(row);
    }
    return result;
}

bool askLevelExists(KoraClient& client, std::uint32_t level)
{
    const auto entries = client.outputStatus(wireLayout::getOutputStatusRsp::shortFormat, level, 0, 1).entries;
    return std::none_of(entries.begin(), entries.end(),
                        [](const OutputStatus& entry) { return entry.result == resultCode::noSuchLevel; });
}

std::optional<LevelSnapshot> askSnapshot(KoraClient& client, std::uint32_t level)
{
    constexpr std::uint32_t longFormat = 2;
    // Asks on after the last part, for what changed behind the walk; a router that never rests ends it by this count.
    constexpr int mostRounds = 8;
    LevelSnapshot snapshot;
    for (int round = 0; round < mostRounds; ++round)
    {
        bool isQuiet = true;
        bool hasMore = true;
        while (hasMore)
        {
            const ChangeRows changes = askChanges(client, longFormat, level);
            for (const OutputRow& row : changes.rows)
            {
                snapshot[row.output] = row;
                isQuiet = false;
            }
            hasMore = changes.more;
        }
        if (isQuiet)
        {
            break;
        }
    }
    if (snapshot.empty() && !askLevelExists(client, level))
    {
        return std::nullopt;
    }
    return snapshot;
}

} // namespace koraclient
