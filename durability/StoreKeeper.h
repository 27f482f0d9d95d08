#pragma once

#include "durability/Store.h"
#include "durability/StoredRow.h"

#include <log4cxx/logger.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace com::tallowcrest::durability
{

/// The only thread that touches the store: opens it, reads its rows once, and commits what it is given, at most every
/// `commitInterval`, forced to the disk each time. Trouble is reported in one WARN that says what and where; what can
/// pass is tried again every `retryInterval`, and what it was given is kept meanwhile. A store that cannot be written
/// is read all the same. A corrupt store is set aside and a fresh one begun. Nothing ends the thread but its owner, the
/// recorder.
class StoreKeeper
{
public:
    static constexpr std::chrono::milliseconds commitInterval{500};
    static constexpr std::chrono::milliseconds retryInterval{1000};

    /// `onLoaded` is called on the keeper's thread when rows were loaded or could not be.
    StoreKeeper(std::filesystem::path path, std::function<void()> onLoaded);
    ~StoreKeeper();
    StoreKeeper(const StoreKeeper&) = delete;
    StoreKeeper& operator=(const StoreKeeper&) = delete;

    // Any thread.

    /// Channels in which nothing has been put since that time, but those in use, are dropped with the next commit.
    void dropUnused(SourceTime since, std::vector<ChannelName> used);
    /// To be stored in place of what the store has of the same instance. Wakes nobody.
    void put(StoredRow row);
    void wake();
    /// The rows of a channel are to be read once more.
    void ask(const ChannelName& channel);
    /// True when the channel's rows were read, or could not be.
    bool hasTried(const ChannelName& channel) const;
    /// The rows of a channel that were loaded since the last call.
    std::vector<StoredRow> takeLoaded(const ChannelName& channel);
    /// True once for each store that was begun anew: everything that is known is to be put.
    bool takeLost() { return m_isLost.exchange(false); }
    bool hasPending(const ChannelName& channel) const;
    /// Commits what is there once more and ends the thread. True when the store has everything.
    bool finish();

private:
    using RowName = std::pair<ChannelName, std::string>;

    void start();
    void run();
    void openStore();
    void readAllTheSame();
    void takeOver(std::vector<StoredRow> rows);
    void forgetOlder();
    void readAsked();
    void commitPending();
    void onFailure(const std::exception& error, StoreFailure failure, const char* what);
    void startOver();
    void warn(const std::string& text) const;

    const std::filesystem::path m_path;
    const std::function<void()> m_onLoaded;
    const log4cxx::LoggerPtr m_logger;

    // The keeper's thread only.
    std::unique_ptr<Store> m_store;
    bool m_isRead = false;
    bool m_isUnreadable = false; ///< and that has been said
    bool m_isWarned = false;
    bool m_isGivenUp = false;

    std::atomic<bool> m_hasTried{false};
    std::atomic<bool> m_isLost{false};
    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_condition;
    bool m_isDue = false;
    bool m_stopping = false;
    std::map<RowName, StoredRow> m_pending;
    std::map<ChannelName, std::vector<StoredRow>> m_loaded;
    std::set<ChannelName> m_asked;
    std::thread m_thread; ///< of the owner's thread
    bool m_isThreadReported = false;
    SourceTime m_unusedSince = 0; ///< 0: nothing is to be dropped
    std::vector<ChannelName> m_used;
};

} // namespace com::tallowcrest::durability
