#pragma once

#include "koraclient/KoraClient.h"
#include "runtime/util/WakeEvent.h"
#include "tools/korapanel/link/LevelPoll.h"
#include "tools/korapanel/model/PanelModel.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace korapanel
{

/// The panel's one connection to the bridge, on a thread of its own: asks for changes and hands them to the model, and
/// runs what others want asked in between, in order. When the bridge goes away it connects again at growing intervals.
/// `submit`, `noteInterest` and `stop` may be called on any thread.
class BridgeLink
{
public:
    struct Settings
    {
        std::string host;
        std::uint16_t port = koraclient::KoraClient::defaultPort;
        std::vector<std::uint32_t> levels;
    };

    /// Runs on the link's thread; the client is null when there is no connection. A KoraError that it lets through
    /// counts as the loss of the connection; nothing else may pass.
    using Job = std::function<void(koraclient::KoraClient* client)>;

    static constexpr std::size_t mostJobs = 64;
    /// Between two polls while somebody looks, and otherwise.
    static constexpr std::chrono::milliseconds busyInterval{25};
    static constexpr std::chrono::milliseconds idleInterval{500};
    /// How long somebody counts as looking after they asked for something.
    static constexpr std::chrono::seconds interestTime{10};
    /// What a bridge that has just started needs, with much to spare, to hear of its router.
    static constexpr std::chrono::seconds settleTime{3};
    /// Between two looks at the status, which find what the changes do not tell.
    static constexpr std::chrono::seconds checkInterval{1};

    /// `watchers` says how many look all the time. Begins at once; throws std::system_error when there is no thread.
    BridgeLink(Settings settings, PanelModel& model, std::function<std::size_t()> watchers);
    ~BridgeLink();
    BridgeLink(const BridgeLink&) = delete;
    BridgeLink& operator=(const BridgeLink&) = delete;

    /// False when too many wait already, or the link ends; the job is not run then.
    bool submit(Job job);
    /// Somebody looks: polls at the quick rate for a while.
    void noteInterest();
    /// Gives up what the bridge has not answered, runs what waits without a client and ends the thread. Only the
    /// resolving of a host's name is waited for: it is the system resolver's. Idempotent.
    void stop();

private:
    using Clock = std::chrono::steady_clock;

    void run();
    /// Until the connection is lost, which throws, or the end is wanted; true when another connection is.
    bool serve();
    /// False when a level has become another.
    bool check(koraclient::KoraClient& client);
    void runJobs(koraclient::KoraClient* client);
    /// Until there is a job, new interest or the time is over; false when the end is wanted.
    bool waitFor(std::chrono::milliseconds time);
    /// The time before the next try to connect; false when the end is wanted.
    bool waitForRetry();
    std::chrono::milliseconds interval();

    const Settings m_settings;
    PanelModel& m_model;
    const std::function<std::size_t()> m_watchers;
    std::vector<LevelPoll> m_levels;
    std::chrono::milliseconds m_retry;
    com::tallowcrest::util::WakeEvent m_interrupt; ///< the end is wanted, for waits of the client

    std::mutex m_mutex; ///< of all below but the thread
    std::condition_variable m_wake;
    std::deque<Job> m_jobs;
    Clock::time_point m_interestUntil{};
    bool m_isWoken = false;
    bool m_isStopping = false;
    std::thread m_thread;
};

} // namespace korapanel
