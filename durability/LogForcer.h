#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <thread>

namespace com::tallowcrest::durability
{

/// Forces the store's log to the disk on a thread of its own, so that a power cut loses little and commits never wait:
/// at once after the first commit, then at most once in an interval while commits go on. When the log has grown it also
/// moves its contents into the main file. Owned by the keeper of the store, while the store is open. A disk that
/// refuses is reported once in the log and tried again with the next commit.
class LogForcer
{
public:
    static constexpr std::chrono::milliseconds usualInterval{500};
    /// The log is moved into the main file from this size on.
    static constexpr std::uintmax_t logSizeToMove = 8U << 20U;

    explicit LogForcer(std::filesystem::path store, std::chrono::milliseconds interval = usualInterval);
    /// Forces what has been committed, then ends the thread.
    ~LogForcer();
    LogForcer(const LogForcer&) = delete;
    LogForcer& operator=(const LogForcer&) = delete;

    /// Something was committed. Any thread.
    void committed();

private:
    void run();
    void force();
    void moveLongLog();
    void report(const char* what, const char* reason);

    const std::filesystem::path m_store;
    const std::chrono::milliseconds m_interval;
    bool m_reported = false;
    std::mutex m_mutex; ///< guards the two flags
    std::condition_variable m_condition;
    bool m_dirty = false;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace com::tallowcrest::durability
