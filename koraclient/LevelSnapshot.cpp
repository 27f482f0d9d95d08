#include "koraclient/LevelSnapshot.h"

#include "koraclient/ChangeRows.h"

namespace koraclient
{

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
