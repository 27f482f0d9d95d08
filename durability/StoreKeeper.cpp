#include "durability/StoreKeeper.h"

#include "durability/RecentRows.h"
#include "durability/ThreadKind.h"
#include "runtime/util/Log.h"

#include <exception>
#include <system_error>
#include <utility>

namespace com::tallowcrest::durability
{

StoreKeeper::StoreKeeper(std::filesystem::path path, const ChannelList& channels, std::function<void()> onLoaded)
    : m_path(std::move(path)), m_channels(channels), m_onLoaded(std::move(onLoaded)), m_logger(util::bridgeLogger()),
      m_thread([this] { run(); })
{}

StoreKeeper::~StoreKeeper()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_condition.notify_one();
    m_thread.join();
}

void StoreKeeper::wake()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isDue = true;
    }
    m_condition.notify_one();
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
            if (m_stopping)
            {
                break;
            }
            lock.unlock();
            openStore();
            lock.lock();
            // What became due without a store is due still.
            m_isDue = true;
            continue;
        }
        m_condition.wait(lock, [this] { return m_isDue || m_stopping; });
        m_isDue = false;
        lock.unlock();
        const auto next = std::chrono::steady_clock::now() + commitInterval;
        commitDue();
        lock.lock();
        m_condition.wait_until(lock, next, [this] { return m_stopping; });
    }
    lock.unlock();
    commitDue();
    m_forcer.reset();
    m_store.reset();
}

void StoreKeeper::openStore()
{
    try
    {
        m_store = std::make_unique<Store>(m_path);
        takeOver(m_store->load());
        m_forcer = std::make_unique<LogForcer>(m_path);
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
    if (!m_hasTried.exchange(true))
    {
        m_onLoaded();
    }
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
    }
    m_isRead = true;
    m_hasTried = true;
    m_onLoaded();
}

void StoreKeeper::commitDue()
{
    if (m_store == nullptr)
    {
        return;
    }
    std::vector<StoredRow> rows;
    const auto giveBack = [&](const std::exception& error, StoreFailure failure) {
        for (const auto& channel : m_channels.all())
        {
            channel->giveBack(rows);
        }
        onFailure(error, failure, "cannot be written");
    };
    try
    {
        for (const auto& channel : m_channels.all())
        {
            channel->collectDue(rows);
        }
        if (rows.empty())
        {
            return;
        }
        m_store->commit(rows);
        m_forcer->committed();
        rows.clear();
        if (m_store->logSize() > longestLog)
        {
            m_store->truncateLog();
        }
    }
    catch (const StoreError& error)
    {
        giveBack(error, error.failure());
    }
    catch (const std::exception& error)
    {
        giveBack(error, StoreFailure::Unusable);
    }
}

void StoreKeeper::onFailure(const std::exception& error, StoreFailure failure, const char* what)
{
    m_forcer.reset();
    m_store.reset();
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
        for (const auto& channel : m_channels.all())
        {
            channel->makeAllDue();
        }
        m_store = std::make_unique<Store>(m_path);
        m_forcer = std::make_unique<LogForcer>(m_path);
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
    wake();
}

void StoreKeeper::warn(const std::string& text) const
{
    LOG4CXX_WARN(m_logger, "Durable store " << m_path.string() << " " << text);
}

} // namespace com::tallowcrest::durability
