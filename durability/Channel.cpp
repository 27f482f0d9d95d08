#include "durability/Channel.h"

#include <algorithm>
#include <utility>

namespace com::tallowcrest::durability
{

Channel::Channel(ChannelName name, const TypeCodec& codec, util::WakeEvent& recorder)
    : m_name(std::move(name)), m_codec(codec), m_recorder(recorder), m_handOver(codec.sampleSize), m_table(codec)
{}

void Channel::addUser()
{
    m_users.fetch_add(1);
    m_recorder.signal();
}

void Channel::removeUser()
{
    m_users.fetch_sub(1);
    m_recorder.signal();
}

Channel::Stamp Channel::stamp(const void* sample, SourceTime now)
{
    if (m_isReplaying.load(std::memory_order_acquire))
    {
        const std::string instance = m_codec.instanceText(sample);
        const std::lock_guard lock(m_mutex);
        const auto found = m_replay.find(instance);
        if (found != m_replay.end())
        {
            const KeptSample delivered = std::move(found->second);
            m_replay.erase(found);
            if (m_codec.sameButWhen(delivered.sample.data(), sample))
            {
                const KeptSample* const newest = m_table.find(instance);
                return {delivered.written, true, newest != nullptr && newest->written > delivered.written};
            }
        }
    }
    return {m_clock.next(now), false, false};
}

void Channel::handOver(const void* sample, SourceTime written)
{
    if (m_handOver.push(sample, written))
    {
        m_recorder.signal();
    }
}

Channel::History Channel::history(std::chrono::nanoseconds timeout)
{
    // A deadline too far for the clock is none.
    constexpr std::chrono::nanoseconds longest = std::chrono::hours(24);
    const Clock::time_point now = Clock::now();
    std::unique_lock lock(m_mutex);
    const std::uint64_t ticket = ++m_lastTicket;
    m_waitingSince = now;
    m_recorder.signal();

    History history;
    history.isComplete =
        m_completed.wait_until(lock, now + std::min(timeout, longest), [&] { return m_completedTicket >= ticket; });
    m_completedTicket = std::max(m_completedTicket, ticket);
    history.samples.reserve(m_table.size());
    for (const auto& [instance, kept] : m_table.samples())
    {
        history.samples.push_back(kept);
    }
    lock.unlock();
    std::sort(history.samples.begin(), history.samples.end(), [](const KeptSample& left, const KeptSample& right) {
        return std::tie(left.written, left.instance) < std::tie(right.written, right.instance);
    });
    return history;
}

void Channel::beginReplay(const std::vector<KeptSample>& delivered)
{
    const std::lock_guard lock(m_mutex);
    m_replay.clear();
    for (const KeptSample& sample : delivered)
    {
        m_replay.emplace(sample.instance, sample);
    }
    m_isReplaying.store(!m_replay.empty(), std::memory_order_release);
}

void Channel::endReplay()
{
    const std::lock_guard lock(m_mutex);
    m_replay.clear();
    m_isReplaying.store(false, std::memory_order_release);
}

bool Channel::apply(const std::string& instance, const void* sample, SourceTime written, Origin origin)
{
    m_clock.observe(written);
    const std::lock_guard lock(m_mutex);
    switch (m_table.apply(instance, sample, written))
    {
    case SampleTable::Change::None:
        break;
    case SampleTable::Change::Stored:
        if (origin != Origin::Store)
        {
            m_due.insert(instance);
        }
        return true;
    case SampleTable::Change::Refused:
        if (!std::exchange(m_refused, true))
        {
            m_refusal = true;
        }
        break;
    }
    return false;
}

std::optional<KeptSample> Channel::kept(const std::string& instance) const
{
    const std::lock_guard lock(m_mutex);
    const KeptSample* const kept = m_table.find(instance);
    return kept == nullptr ? std::nullopt : std::optional(*kept);
}

std::vector<std::pair<std::string, SourceTime>> Channel::keptTimes() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::pair<std::string, SourceTime>> times;
    times.reserve(m_table.size());
    for (const auto& [instance, kept] : m_table.samples())
    {
        times.emplace_back(instance, kept.written);
    }
    return times;
}

std::size_t Channel::size() const
{
    const std::lock_guard lock(m_mutex);
    return m_table.size();
}

Channel::Waiting Channel::waiting() const
{
    const std::lock_guard lock(m_mutex);
    return m_lastTicket > m_completedTicket ? Waiting{m_lastTicket, m_waitingSince} : Waiting{};
}

void Channel::complete(std::uint64_t ticket)
{
    {
        const std::lock_guard lock(m_mutex);
        m_completedTicket = std::max(m_completedTicket, ticket);
    }
    m_completed.notify_all();
}

StoredRow Channel::rowOf(const std::string& instance, const void* sample, SourceTime written) const
{
    return {m_name, instance, m_codec.typeName, written, m_codec.payloadText(sample)};
}

void Channel::collectAll(std::vector<StoredRow>& rows) const
{
    const std::lock_guard lock(m_mutex);
    for (const auto& [instance, kept] : m_table.samples())
    {
        rows.push_back(rowOf(instance, kept.sample.data(), kept.written));
    }
}

void Channel::collectDue(std::vector<StoredRow>& rows)
{
    std::vector<KeptSample> samples;
    {
        const std::lock_guard lock(m_mutex);
        samples.reserve(m_due.size());
        for (const std::string& instance : m_due)
        {
            samples.push_back(*m_table.find(instance));
        }
        m_due.clear();
    }
    rows.reserve(rows.size() + samples.size());
    for (const KeptSample& kept : samples)
    {
        rows.push_back(rowOf(kept.instance, kept.sample.data(), kept.written));
    }
}

bool Channel::hasDue() const
{
    const std::lock_guard lock(m_mutex);
    return !m_due.empty();
}

void Channel::giveBack(const std::vector<StoredRow>& rows)
{
    const std::lock_guard lock(m_mutex);
    for (const StoredRow& row : rows)
    {
        if (row.channel == m_name)
        {
            m_due.insert(row.instance);
        }
    }
}

void Channel::makeAllDue()
{
    const std::lock_guard lock(m_mutex);
    for (const auto& [instance, kept] : m_table.samples())
    {
        m_due.insert(instance);
    }
}

} // namespace com::tallowcrest::durability
