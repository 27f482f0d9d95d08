#include "durability/LogForcer.h"

#include "durability/Sqlite.h"
#include "durability/Store.h"
#include "durability/ThreadKind.h"
#include "runtime/util/Log.h"
#include "runtime/util/UniqueFd.h"

#include <fcntl.h>
#include <log4cxx/logger.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace com::tallowcrest::durability
{

LogForcer::LogForcer(std::filesystem::path store, std::chrono::milliseconds interval)
    : m_store(std::move(store)), m_interval(interval), m_thread([this] { run(); })
{}

LogForcer::~LogForcer()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_condition.notify_one();
    m_thread.join();
}

void LogForcer::committed()
{
    {
        const std::lock_guard lock(m_mutex);
        m_dirty = true;
    }
    m_condition.notify_one();
}

void LogForcer::run()
{
    enterBackground("Durable sync");
    moveLongLog(); // an earlier life may have left one
    std::unique_lock lock(m_mutex);
    while (true)
    {
        m_condition.wait(lock, [this] { return m_dirty || m_stopping; });
        if (!std::exchange(m_dirty, false))
        {
            return;
        }
        const auto next = std::chrono::steady_clock::now() + m_interval;
        lock.unlock();
        force();
        lock.lock();
        m_condition.wait_until(lock, next, [this] { return m_stopping; });
    }
}

void LogForcer::force()
{
    // Closing a file of the database's drops the process's locks on it; the log file bears none.
    const util::UniqueFd file(::open(Store::logPath(m_store).c_str(), O_RDWR | O_CLOEXEC));
    if (!file.isOpen() || ::fdatasync(file.get()) != 0)
    {
        report("its log cannot be forced to the disk", std::system_category().message(errno).c_str());
        return;
    }
    m_reported = false;
    moveLongLog();
}

void LogForcer::moveLongLog()
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(Store::logPath(m_store), error);
    if (!error && size > logSizeToMove)
    {
        try
        {
            // Writers and readers go on meanwhile. The next commit begins the log anew when all of it was moved.
            SqliteConnection(m_store.string()).execute("PRAGMA wal_checkpoint(PASSIVE)");
        }
        catch (const SqliteError& problem)
        {
            report("its log cannot be moved into the store", problem.what());
        }
    }
}

void LogForcer::report(const char* what, const char* reason)
{
    if (!std::exchange(m_reported, true))
    {
        LOG4CXX_WARN(util::bridgeLogger(), "Durable store " << m_store.string() << ": " << what << ": " << reason
                                                            << "; a power cut may lose the last targets");
    }
}

} // namespace com::tallowcrest::durability
