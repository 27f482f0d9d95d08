#include "koraclient/Watch.h"

#include "koraclient/AskOutputs.h"
#include "koraclient/Errors.h"

#include <algorithm>
#include <utility>

namespace koraclient
{
namespace
{

/// The router's answers may come in several portions to a bridge that has just started. The first round without a
/// change ends a resynchronisation, and so does this many rounds, for a router that is always busy.
constexpr int mostResyncRounds = 8;

} // namespace

Watch::Watch(Connect connect, const std::vector<std::uint32_t>& levels, Settings settings, WatchListener& listener)
    : m_connect(std::move(connect)), m_settings(settings), m_listener(listener)
{
    for (const std::uint32_t number : levels)
    {
        m_levels.push_back(Level{.number = number, .known = {}, .pending = {}});
    }
}

void Watch::start()
{
    m_client.emplace(m_connect());
    for (Level& level : m_levels)
    {
        if (!askLevelExists(*m_client, level.number))
        {
            level.isMissing = true;
            m_listener.missing(level.number);
        }
    }
}

void Watch::run(StopCondition& stop)
{
    for (;;)
    {
        std::string reason;
        try
        {
            if (!round(stop) || stop.waitFor(m_settings.interval))
            {
                return;
            }
            continue;
        }
        catch (const ProtocolError&)
        {
            throw; // to connect again would not help
        }
        catch (const ErrorResponse&)
        {
            throw;
        }
        catch (const KoraError& problem)
        {
            if (!m_hasBegun || !m_settings.isReconnecting)
            {
                throw;
            }
            reason = problem.what();
        }
        m_client.reset();
        if (!m_isLost)
        {
            m_isLost = true;
            m_lostAt = Clock::now();
            m_listener.lost(reason);
        }
        if (!reconnect(stop))
        {
            return;
        }
    }
}

bool Watch::reconnect(StopCondition& stop)
{
    while (!m_client)
    {
        if (stop.waitFor(m_retry))
        {
            return false;
        }
        m_retry = std::min(m_retry * 2, longestRetry);
        try
        {
            m_client.emplace(m_connect());
        }
        catch (const ConnectError&)
        {
            continue; // the listener knows; again after a longer while
        }
    }
    for (Level& level : m_levels)
    {
        level.pending.clear();
        level.resyncRounds = mostResyncRounds;
    }
    return true;
}

bool Watch::round(StopCondition& stop)
{
    for (Level& level : m_levels)
    {
        if (!pollLevel(level, stop))
        {
            return false;
        }
    }
    m_hasBegun = true;
    m_retry = firstRetry;
    m_listener.roundEnded();
    return true;
}

bool Watch::pollLevel(Level& level, StopCondition& stop)
{
    bool isQuiet = true;
    ChangesWalk walk(*m_client, m_settings.format, level.number);
    for (;;)
    {
        const ChangeRows changes = walk.next();
        for (const OutputRow& row : changes.rows)
        {
            isQuiet = false;
            take(level, row);
        }
        if (!changes.more)
        {
            break;
        }
        if (stop.waitFor(std::chrono::milliseconds(0)))
        {
            return false;
        }
    }
    if (m_isLost)
    {
        m_isLost = false;
        m_listener.back(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_lostAt));
    }
    if (level.resyncRounds > 0 && (--level.resyncRounds == 0 || isQuiet))
    {
        endResync(level);
    }
    return true;
}

void Watch::take(Level& level, const OutputRow& row)
{
    level.isMissing = false;
    if (level.resyncRounds > 0)
    {
        level.pending[row.output] = row;
        return;
    }
    level.known[row.output] = row;
    m_listener.changed(level.number, row);
}

void Watch::endResync(Level& level)
{
    if (level.pending.empty() && !level.isMissing && !askLevelExists(*m_client, level.number))
    {
        level.isMissing = true;
        m_listener.missing(level.number);
    }
    if (level.isMissing)
    {
        level.resyncRounds = mostResyncRounds; // compared when it is there again
        return;
    }
    level.resyncRounds = 0;
    std::size_t differing = 0;
    for (const auto& [output, row] : std::exchange(level.pending, {}))
    {
        const auto known = level.known.find(output);
        if (known != level.known.end() && known->second == row)
        {
            continue;
        }
        ++differing;
        level.known[output] = row;
        m_listener.changed(level.number, row);
    }
    m_listener.resynchronised(level.number, differing);
}

} // namespace koraclient
