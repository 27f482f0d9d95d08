#include "tools/korapanel/link/LevelPoll.h"

#include "koracommand/ResultCode.h"
#include "koracommand/WireLayout.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace korapanel
{
namespace
{

/// As in `koraclient::Watch`: the router's answers may come in several portions to a bridge that has just started.
constexpr int mostResyncRounds = 8;

constexpr std::uint32_t longFormat = 2;

/// Whether the level has the output, by its row or its status.
bool isThere(std::uint32_t result)
{
    return result != resultCode::esfInvalidDst && result != resultCode::noSuchLevel;
}

} // namespace

void LevelPoll::begin()
{
    m_pending.clear();
    m_resyncRounds = mostResyncRounds;
    m_first = m_end = m_next = 0;
}

void LevelPoll::poll(koraclient::KoraClient& client)
{
    std::vector<koraclient::OutputRow> rows;
    koraclient::ChangesWalk walk(client, longFormat, m_level);
    for (bool hasMore = true; hasMore;)
    {
        koraclient::ChangeRows changes = walk.next();
        rows.insert(rows.end(), changes.rows.begin(), changes.rows.end());
        hasMore = changes.more;
    }
    if (m_resyncRounds == 0)
    {
        m_model.applyRows(m_level, rows);
        return;
    }
    for (const koraclient::OutputRow& row : rows)
    {
        m_pending[row.output] = row;
    }
    if (--m_resyncRounds == 0 || rows.empty())
    {
        endResync(client);
    }
}

void LevelPoll::endResync(koraclient::KoraClient& client)
{
    const bool isPresent = !m_pending.empty() || koraclient::askLevelExists(client, m_level);
    m_model.setPresent(m_level, isPresent);
    m_resyncRounds = isPresent ? 0 : mostResyncRounds; // it may come
    std::vector<koraclient::OutputRow> rows;
    for (const auto& entry : std::exchange(m_pending, {}))
    {
        rows.push_back(entry.second);
        if (isThere(entry.second.result))
        {
            m_first = m_end == 0 ? entry.first : m_first;
            m_end = entry.first + 1;
        }
    }
    m_next = m_first - std::min(m_first, 1U);
    if (isPresent)
    {
        m_model.replaceRows(m_level, rows);
    }
}

bool LevelPoll::check(koraclient::KoraClient& client)
{
    if (m_end == 0)
    {
        return true; // missing, or not yet known
    }
    // The outputs before the first and behind the last must not be there.
    const std::uint32_t most = wireLayout::getOutputStatusRsp::maxEntries(longFormat);
    const auto block = client.outputStatus(longFormat, m_level, m_next, std::min(m_end + 1 - m_next, most));
    std::vector<koraclient::OutputRow> rows;
    for (const koraclient::OutputStatus& status : block.entries)
    {
        const bool isKnown = m_next >= m_first && m_next < m_end;
        if (isThere(status.result) != isKnown)
        {
            return false;
        }
        if (isKnown)
        {
            rows.push_back({.output = m_next,
                            .result = status.result,
                            .input = status.input,
                            .lpr = koraclient::OutputLpr{.state = status.lprState, .lprId = status.lprId}});
        }
        ++m_next;
    }
    m_next = m_next > m_end ? m_first - std::min(m_first, 1U) : m_next;
    m_model.applyRows(m_level, rows);
    return true;
}

} // namespace korapanel
