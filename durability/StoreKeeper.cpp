#include "durability/StoreKeeper.h"

#include "dds/domain/DomainParticipant.hpp"
#include "durability/RecentRows.h"
#include "durability/ThreadKind.h"
#include "runtime/util/Log.h"
#include "runtime/util/Metrics.h"

#include <exception>
#include <system_error>
#include <utility>

namespace com::tallowcrest::durability
{

namespace
{

util::Gauge storeUsable("korabridge_store_usable", "Whether the store of targets can be written.");
util::Gauge pendingRows("korabridge_store_pending_rows", "Targets that are kept and not stored yet.");
util::Counter commits("korabridge_store_commits_total", "Commits to the store.");
util::Counter failures("korabridge_store_failures_total", "Attempts to open, read or write the store that failed.");

} // namespace

StoreKeeper::StoreKeeper(std::filesystem::path path, std::function<void()> onLoaded)
    : m_path(std::move(path)), m_onLoaded(std::move(onLoaded)), m_logger(util::bridgeLogger())
{
    start();
}

/// Also called when it has run already: no thread may have been to be had.
void StoreKeeper::start()
{
    if (m_thread.joinable())
    {
        return;
    }
    try
    {
        m_thread = std::thread([this] { run(); });
    }
    catch (const std::system_error& error)
    {
        if (!std::exchange(m_isThreadReported, true))
        {
            warn(std::string("gets no thread: ") + error.what() + "; targets are not kept until it does");
        }
        m_hasTried = true; // nobody waits for it
    }
}

StoreKeeper::~StoreKeeper()
{
    finish();
}

bool StoreKeeper::finish()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_condition.notify_one();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
    const std::lock_guard lock(m_mutex);
    return m_isRead && m_pending.empty();
}

void StoreKeeper::put(StoredRow row)
{
    const std::lock_guard lock(m_mutex);
    RowName name(row.channel, row.instance);
    m_pending.insert_or_assign(std::move(name), std::move(row));
    pendingRows.set(static_cast<std::int64_t>(m_pending.size()));
}

bool StoreKeeper::hasPending(const ChannelName& channel) const
{
    const std::lock_guard lock(m_mutex);
    const auto first = m_pending.lower_bound({channel, std::string()});
    return first != m_pending.end() && first->first.first == channel;
}

void StoreKeeper::wake()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isDue = true;
    }
    m_condition.notify_one();
    start();
}

void StoreKeeper::dropUnused(SourceTime since, std::vector<ChannelName> used)
{
    const std::lock_guard lock(m_mutex);
    m_unusedSince = since;
    m_used = std::move(used);
}

void StoreKeeper::ask(const ChannelName& channel)
{
    {
        const std::lock_guard lock(m_mutex);
        m_asked.insert(channel);
    }
    wake();
}

bool StoreKeeper::hasTried(const ChannelName& channel) const
{
    const std::lock_guard lock(m_mutex);
    return m_hasTried && !m_asked.contains(channel);
}

std::vector<StoredRow> StoreKeeper::takeLoaded(const ChannelName& channel)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_loaded.find(channel);
    if (found == m_loaded.end())
    {
        return {};
    }
    std::vector<StoredRow> rows = std::move(found->second);
    m_loaded.erase(found);
    return rows;
}

void StoreKeeper::run()
{
    enterBackground("Durable store");
    openStore();
    std::unique_lock lock(m_mutex);
    while (!m_stopping)
    {
        if (m_store == nullptr && !m_isGivenUp)
        {
            m_condition.wait_for(lock, retryInterval, [this] { return m_stopping; });
            if (!m_stopping)
            {
                lock.unlock();
                openStore();
                lock.lock();
                m_isDue = true; // what came meanwhile
            }
            continue;
        }
        m_condition.wait(lock, [this] { return m_isDue || m_stopping; });
        m_isDue = false;
        lock.unlock();
        const auto next = std::chrono::steady_clock::now() + commitInterval;
        readAsked();
        commitPending();
        lock.lock();
        m_condition.wait_until(lock, next, [this] { return m_stopping; });
    }
    lock.unlock();
    commitPending();
    m_store.reset();
}

void StoreKeeper::openStore()
{
    try
    {
        m_store = std::make_unique<Store>(m_path);
        takeOver(m_store->load());
        storeUsable.set(1);
        if (std::exchange(m_isWarned, false))
        {
            LOG4CXX_INFO(m_logger, "Durable store " << m_path.string() << ": in use again");
        }
    }
    catch (const StoreError& error)
    {
        onFailure(error, error.failure(), "cannot be opened");
        if (error.failure() == StoreFailure::Unusable)
        {
            readAllTheSame();
        }
    }
    catch (const std::exception& error) // no thread, no memory
    {
        onFailure(error, StoreFailure::Unusable, "cannot be opened");
        readAllTheSame();
    }
    {
        const std::lock_guard lock(m_mutex);
        m_asked.clear(); // everything was read, or nothing can be
    }
    if (!m_hasTried.exchange(true))
    {
        m_onLoaded();
    }
}

void StoreKeeper::readAsked()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_asked.empty())
        {
            return;
        }
    }
    try
    {
        if (m_store != nullptr)
        {
            takeOver(m_store->load());
        }
    }
    catch (const StoreError& error)
    {
        onFailure(error, error.failure(), "cannot be read");
    }
    {
        const std::lock_guard lock(m_mutex);
        m_asked.clear();
    }
    m_onLoaded();
}

void StoreKeeper::readAllTheSame()
{
    std::error_code ignored;
    if (m_isRead || std::filesystem::status(m_path, ignored).type() == std::filesystem::file_type::not_found)
    {
        return;
    }
    try
    {
        std::vector<StoredRow> rows = Store::readOnly(m_path, RecentRows::directory());
        LOG4CXX_INFO(m_logger,
                     "Durable store " << m_path.string() << ": " << rows.size() << " targets were read all the same");
        takeOver(std::move(rows));
    }
    catch (const std::exception& error)
    {
        if (!std::exchange(m_isUnreadable, true))
        {
            LOG4CXX_INFO(m_logger, "Durable store " << m_path.string() << ": cannot be read either: " << error.what());
        }
    }
}

void StoreKeeper::takeOver(std::vector<StoredRow> rows)
{
    std::map<ChannelName, std::vector<StoredRow>> loaded;
    for (StoredRow& row : rows)
    {
        std::vector<StoredRow>& ofChannel = loaded[row.channel];
        ofChannel.push_back(std::move(row));
    }
    {
        const std::lock_guard lock(m_mutex);
        m_loaded = std::move(loaded);
        forgetOlder();
    }
    m_isRead = true;
    m_hasTried = true;
    m_onLoaded();
}

/// What has just been loaded is not to be replaced by what was put before anybody knew of it, if that is older.
void StoreKeeper::forgetOlder()
{
    const SourceTime now = fromBusTime(dds::domain::current_time().to_nanoseconds());
    for (const auto& [channel, rows] : m_loaded)
    {
        for (const StoredRow& row : rows)
        {
            const auto pending = m_pending.find({row.channel, row.instance});
            if (pending != m_pending.end() && pending->second.written < row.written && isBelievable(row.written, now))
            {
                m_pending.erase(pending);
            }
        }
    }
    pendingRows.set(static_cast<std::int64_t>(m_pending.size()));
}

void StoreKeeper::commitPending()
{
    if (m_store == nullptr)
    {
        return;
    }
    try
    {
        std::vector<StoredRow> rows;
        SourceTime unusedSince = 0;
        std::vector<ChannelName> used;
        {
            const std::lock_guard lock(m_mutex);
            unusedSince = std::exchange(m_unusedSince, 0);
            used = std::move(m_used);
            rows.reserve(m_pending.size());
            for (const auto& [name, row] : m_pending)
            {
                rows.push_back(row);
            }
        }
        if (unusedSince > 0)
        {
            if (const std::size_t dropped = m_store->dropUnused(unusedSince, used); dropped > 0)
            {
                LOG4CXX_INFO(m_logger, "Durable store " << m_path.string() << ": dropped " << dropped
                                                        << " topics of partitions that nobody has used for long");
            }
        }
        if (rows.empty())
        {
            return;
        }
        m_store->commit(rows);
        commits.add();
        const std::lock_guard lock(m_mutex);
        for (const StoredRow& row : rows)
        {
            const auto pending = m_pending.find({row.channel, row.instance});
            if (pending != m_pending.end() && pending->second == row) // else there is a newer one
            {
                m_pending.erase(pending);
            }
        }
        pendingRows.set(static_cast<std::int64_t>(m_pending.size()));
    }
    catch (const StoreError& error)
    {
        onFailure(error, error.failure(), "cannot be written");
    }
    catch (const std::exception& error)
    {
        onFailure(error, StoreFailure::Unusable, "cannot be written");
    }
}

void StoreKeeper::onFailure(const std::exception& error, StoreFailure failure, const char* what)
{
    m_store.reset();
    failures.add();
    storeUsable.set(0);
    switch (failure)
    {
    case StoreFailure::Corrupt:
        startOver();
        return;
    case StoreFailure::NewerVersion:
    case StoreFailure::Foreign:
        m_isGivenUp = true;
        warn(std::string(what) + ", " + error.what() + "; it stays as it is and targets are not kept");
        return;
    case StoreFailure::InUse:
    case StoreFailure::Unusable:
        break;
    }
    if (!std::exchange(m_isWarned, true))
    {
        warn(std::string(what) + ": " + error.what() + "; targets are not kept until it can");
    }
}

void StoreKeeper::startOver()
{
    try
    {
        const std::filesystem::path aside = Store::setAside(m_path);
        warn("is corrupt; it is now " + aside.string() + ", and a fresh one is begun");
        m_isLost = true;
        m_onLoaded(); // whoever looks puts everything
        m_store = std::make_unique<Store>(m_path);
        storeUsable.set(1);
    }
    catch (const std::exception& error)
    {
        m_store.reset();
        if (!std::exchange(m_isWarned, true))
        {
            warn(std::string("is corrupt and cannot be begun anew: ") + error.what() +
                 "; targets are not kept until it can");
        }
    }
    const std::lock_guard lock(m_mutex);
    m_isDue = true;
}

void StoreKeeper::warn(const std::string& text) const
{
    LOG4CXX_WARN(m_logger, "Durable store " << m_path.string() << " " << text);
}

} // namespace com::tallowcrest::durability
