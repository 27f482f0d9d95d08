#include "koraclient/AskOutputs.h"

#include "koraclient/Errors.h"
#include "koraclient/ResultText.h"
#include "koracommand/ResultCode.h"
#include "koracommand/WireLayout.h"

#include <algorithm>

namespace koraclient
{

std::string OutputLpr::text() const
{
    return lprStateText(state) + (isHeld() ? " by " + std::to_string(lprId) : "");
}

std::string OutputRow::inputText() const
{
    return result == 0 ? std::to_string(input) : "-";
}

std::string OutputRow::stateText() const
{
    if (!lpr)
    {
        return "";
    }
    return lpr->text();
}

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

ChangeRows ChangesWalk::next()
{
    ChangeRows changes = askChanges(m_client, m_format, m_level);
    if (++m_answers >= mostAnswers && changes.more)
    {
        throw ProtocolError("the bridge has more changes than any level: " + std::to_string(m_answers) +
                            " answers, and still no end");
    }
    return changes;
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
        ChangesWalk walk(client, longFormat, level);
        while (hasMore)
        {
            const ChangeRows changes = walk.next();
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

std::optional<std::uint32_t> HolderLookup::ask(std::uint32_t level, std::uint32_t output, std::uint32_t result)
{
    if (m_hasFailed || (result != resultCode::outputLocked && result != resultCode::outputProtected))
    {
        return std::nullopt;
    }
    const LprState wanted = result == resultCode::outputLocked ? LprState::locked : LprState::isProtected;
    try
    {
        constexpr std::uint32_t longFormat = 2;
        const OutputStatusBlock block = m_client.outputStatus(longFormat, level, output, 1);
        if (block.entries.empty() || block.entries.front().lprState != static_cast<std::uint32_t>(wanted))
        {
            return std::nullopt;
        }
        return block.entries.front().lprId;
    }
    catch (const KoraError&)
    {
        m_hasFailed = true; // the next question would only wait in vain, too
        return std::nullopt;
    }
}

} // namespace koraclient
