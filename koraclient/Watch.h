#pragma once

#include "koraclient/AskOutputs.h"
#include "koraclient/KoraClient.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace koraclient
{

/// Tells whoever runs a watch when to end. Asked on one thread.
class StopCondition
{
public:
    StopCondition() = default;
    virtual ~StopCondition() = default;
    StopCondition(const StopCondition&) = delete;
    StopCondition& operator=(const StopCondition&) = delete;

    /// Waits for the time given or until the end is wanted, whichever comes first; true when the end is wanted.
    virtual bool waitFor(std::chrono::milliseconds time) = 0;
};

/// Told what a `Watch` sees, on the watch's thread. What it throws ends the watch.
class WatchListener
{
public:
    WatchListener() = default;
    virtual ~WatchListener() = default;
    WatchListener(const WatchListener&) = delete;
    WatchListener& operator=(const WatchListener&) = delete;

    /// An output shows something else than before, is held otherwise, or is seen for the first time.
    virtual void changed(std::uint32_t level, const OutputRow& row) = 0;
    /// Every level was polled once; what is to be shown can be shown.
    virtual void roundEnded() {}
    /// A level does not exist, or does not exist any more; the watch waits for it.
    virtual void missing(std::uint32_t level) = 0;
    /// The bridge is gone; the watch tries to connect again.
    virtual void lost(const std::string& reason) = 0;
    /// There is a connection again after so long.
    virtual void back(std::chrono::milliseconds gap) = 0;
    /// A level is up to date again; so many outputs differed and were handed on.
    virtual void resynchronised(std::uint32_t level, std::size_t differing) = 0;
};

/// Polls the changes of some levels and hands each on as it comes. The first round reports every output, because to a
/// new connection every output is changed.
///
/// When the bridge goes away the watch connects again, at growing intervals, until it succeeds. To the new connection
/// every output is changed again; of these the watch hands on those that differ from what it handed on last. So every
/// state that lasts is reported; a change that was undone before the connection was back is not. Owned by one thread;
/// what the listener throws passes through, and so does trouble before the first whole round.
class Watch
{
public:
    using Connect = std::function<KoraClient()>;

    struct Settings
    {
        std::uint32_t format = 2;                ///< 1: without lock state; any other: with it
        std::chrono::milliseconds interval{500}; ///< from the end of one round to the begin of the next
        bool isReconnecting = true;              ///< false: a bridge that goes away is trouble that passes through
    };

    Watch(Connect connect, const std::vector<std::uint32_t>& levels, Settings settings, WatchListener& listener);

    /// Connects and says which levels do not exist. Throws what the client throws.
    void start();
    /// Rounds at the interval until the condition wants the end. Once, after `start`. Throws `ProtocolError` (as for
    /// a level whose changes never end) and `ErrorResponse` always, other errors of the link as long as no round was
    /// whole or when it is not to reconnect.
    void run(StopCondition& stop);

    static constexpr std::chrono::milliseconds firstRetry{250};
    static constexpr std::chrono::milliseconds longestRetry{5000};

private:
    using Clock = std::chrono::steady_clock;

    struct Level
    {
        std::uint32_t number = 0;
        std::map<std::uint32_t, OutputRow> known;   ///< as handed on last
        std::map<std::uint32_t, OutputRow> pending; ///< while resynchronising: what came, not yet compared
        int resyncRounds = 0;                       ///< how many more rounds may pass before they are compared
        bool isMissing = false;                     ///< the listener knows that it does not exist
    };

    /// One poll of each level; false when the end is wanted.
    bool round(StopCondition& stop);
    bool pollLevel(Level& level, StopCondition& stop);
    void take(Level& level, const OutputRow& row);
    void endResync(Level& level);
    /// Until there is a connection; false when the end is wanted.
    bool reconnect(StopCondition& stop);

    Connect m_connect;
    Settings m_settings;
    WatchListener& m_listener;
    std::vector<Level> m_levels;
    std::optional<KoraClient> m_client;
    bool m_hasBegun = false; ///< one whole round has gone well
    std::chrono::milliseconds m_retry = firstRetry;
    Clock::time_point m_lostAt;
    bool m_isLost = false; ///< the listener knows that the bridge is gone
};

} // namespace koraclient
