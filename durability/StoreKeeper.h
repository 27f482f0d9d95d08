#pragma once

#include "durability/ChannelList.h"
#include "durability/LogForcer.h"
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
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace com::tallowcrest::durability
{

/// The only thread that touches the store: opens it, reads its rows once, and commits what the channels have due, at
/// most every `commitInterval`. Trouble is reported in one WARN that says what and where; what can pass is tried again
/// every `retryInterval`, and nothing is lost meanwhile but the safety of the store. A store that cannot be written is
/// read all the same. A corrupt store is set aside and a fresh one begun. Owned by the service.
class StoreKeeper
{
public:
    static constexpr std::chrono::milliseconds commitInterval{20};
    static constexpr std::chrono::milliseconds retryInterval{1000};
    /// Cut the log on this thread when the forcing thread does not get to it.
    static constexpr std::uintmax_t longestLog = 32U << 20U;

    /// `onLoaded` is called on the keeper's thread when rows were loaded or could not be.
    StoreKeeper(std::filesystem::path path, const ChannelList& channels, std::function<void()> onLoaded);
    /// Commits what is due once more, then ends the thread.
    ~StoreKeeper();
    StoreKeeper(const StoreKeeper&) = delete;
    StoreKeeper& operator=(const StoreKeeper&) = delete;

    /// A channel has something due. Any thread.
    void wake();
    /// True when the store was read, or could not be. Any thread.
    bool hasTried() const { return m_hasTried.load(); }
    /// The rows of a channel that were loaded since the last call. Any thread.
    std::vector<StoredRow> takeLoaded(const ChannelName& channel);

private:
    void run();
    void openStore();
    void readAllTheSame();
    void takeOver(std::vector<StoredRow> rows);
    void commitDue();
    void onFailure(const std::exception& error, StoreFailure failure, const char* what);
    void startOver();
    void warn(const std::string& text) const;

    const std::filesystem::path m_path;
    const ChannelList& m_channels;
    const std::function<void()> m_onLoaded;
    const log4cxx::LoggerPtr m_logger;

    // The keeper's thread only.
    std::unique_ptr<Store> m_store;
    std::unique_ptr<LogForcer> m_forcer; ///< goes before the store
    bool m_isRead = false;
    bool m_isUnreadable = false; ///< and that has been said
    bool m_isWarned = false;
    bool m_isGivenUp = false;

    std::atomic<bool> m_hasTried{false};
    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_condition;
    bool m_isDue = false;
    bool m_stopping = false;
    std::map<ChannelName, std::vector<StoredRow>> m_loaded;
    std::thread m_thread;
};

} // namespace com::tallowcrest::durability
