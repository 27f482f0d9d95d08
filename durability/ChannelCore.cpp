#include "durability/ChannelCore.h"

#include <algorithm>

namespace com::tallowcrest::durability
{

namespace
{

constexpr ChannelCore::Time longAgo{-3'600'000'000};

/// Spreads every bit of a number over all of it (the finalizer of SplitMix64), so that digests can be added bit by bit.
std::uint64_t spreadBits(std::uint64_t number)
{
    number ^= number >> 30U;
    number *= 0xbf58476d1ce4e5b9U;
    number ^= number >> 27U;
    number *= 0x94d049bb133111ebU;
    return number ^ (number >> 31U);
}

} // namespace

ChannelCore::ChannelCore(const Settings& settings, HybridClock& clock)
    : m_settings(settings), m_clock(clock), m_entries(settings.greatest + std::size_t{1}),
      m_digests(settings.greatest / bucketSize + std::size_t{1}), m_neighbours(m_digests.size()),
      m_answerDue(m_digests.size()), m_answeredAt(m_digests.size(), longAgo), m_changedAt(m_digests.size(), longAgo),
      m_toldAt(longAgo), m_newcomer(settings.started), m_repeatSince(longAgo), m_repeatedAt(longAgo)
{}

void ChannelCore::join(std::uint64_t ticket, const Now& now)
{
    m_ticket = ticket;
    m_isWaiting = true;
    m_joinedAt = now.steady;
    if (!std::exchange(m_isExpected, false))
    {
        beginToWait(now.steady);
    }
    for (Entry& entry : m_entries)
    {
        entry.isDecidedHere = false;
    }
}

void ChannelCore::decided(Instance instance, Decision decision, Time earliest, const Now& now)
{
    if (instance < m_entries.size())
    {
        m_entries[instance].isDecidedHere = true;
    }
    learnHere(instance, std::move(decision), earliest, now);
}

void ChannelCore::published(Instance instance, Decision decision, Time earliest, const Now& now)
{
    learnHere(instance, std::move(decision), earliest, now);
}

void ChannelCore::learnHere(Instance instance, Decision decision, Time earliest, const Now& now)
{
    if (instance >= m_entries.size())
    {
        ++m_numRefused;
        return;
    }
    // What this bridge has written is on the bus, whatever has become of the clock; so it is believed.
    Entry& entry = m_entries[instance];
    const int compared = entry.isKnown ? order(decision, entry.decision) : 1;
    const bool isBehind = entry.published > decision.written || compared < 0;
    const bool isAround = entry.published >= 0 && entry.published < decision.written && entry.publishedAt >= earliest;
    entry.published = decision.written;
    entry.publishedAt = earliest;
    if (compared >= 0)
    {
        entry.onBusAt = earliest;
    }
    if (compared > 0)
    {
        replace(instance, std::move(decision), Source::Here);
        m_changedAt[instance / bucketSize] = now.steady;
    }
    if (isBehind || isAround)
    {
        publish(instance); // the older one may be the last that was published
    }
}

void ChannelCore::seen(Instance instance, Decision decision, const Now& now)
{
    learn(instance, std::move(decision), Source::Topic, now);
}

void ChannelCore::loaded(Instance instance, Decision decision, Kept where, const Now& now)
{
    if (!isBelievable(decision.written, now.wall))
    {
        // What was kept is better than nothing, and whatever else is known is better than it.
        decision.written = 0;
    }
    learn(instance, std::move(decision), where == Kept::Store ? Source::Store : Source::Memory, now);
}

int ChannelCore::order(const Decision& left, const Decision& right) const
{
    if (left.written != right.written)
    {
        return left.written < right.written ? -1 : 1;
    }
    return m_settings.rules.order(left.content, right.content);
}

void ChannelCore::learn(Instance instance, Decision decision, Source source, const Now& now)
{
    if (instance >= m_entries.size() || !isBelievable(decision.written, now.wall))
    {
        ++m_numRefused;
        return;
    }
    Entry& entry = m_entries[instance];
    const int compared = entry.isKnown ? order(decision, entry.decision) : 1;
    if (compared >= 0 && source == Source::Topic)
    {
        entry.onBusAt = now.steady;
    }
    if (compared > 0)
    {
        replace(instance, std::move(decision), source);
        m_changedAt[instance / bucketSize] = now.steady;
        spread(instance, source, now);
    }
}

void ChannelCore::replace(Instance instance, Decision decision, Source source)
{
    Entry& entry = m_entries[instance];
    std::uint64_t& digest = m_digests[instance / bucketSize];
    const bool wasKnown = entry.isKnown;
    if (wasKnown)
    {
        digest ^= digestOf(instance);
    }
    else
    {
        entry.isKnown = true;
        ++m_size;
    }
    m_clock.observe(decision.written);
    entry.decision = std::move(decision);
    digest ^= digestOf(instance);
    m_isStatusOld = true;
    if (source != Source::Store || wasKnown)
    {
        store(instance); // once more when the store may have been given something older meanwhile
    }
    if (source != Source::Store && source != Source::Memory)
    {
        remember(instance);
    }
}

void ChannelCore::spread(Instance instance, Source source, const Now& now)
{
    const Entry& entry = m_entries[instance];
    // What comes on the topic itself is on the bus. But something older that was published here a moment ago may
    // arrive behind it.
    const bool hasPublished = entry.published >= 0;
    const bool mayBeOvertaken = hasPublished && now.steady - entry.publishedAt < overtakes;
    const bool isLate = source != Source::Topic || mayBeOvertaken;
    if ((m_isWaiting || m_ticket == 0) && !entry.isDecidedHere)
    {
        return; // the join brings it
    }
    if (isLate && (hasPublished || !entry.isDecidedHere))
    {
        publish(instance);
    }
    if (m_settings.isShared || (isLate && !entry.isDecidedHere))
    {
        adopt(instance);
    }
}

void ChannelCore::publish(Instance instance)
{
    if (!std::exchange(m_entries[instance].isToPublish, true))
    {
        m_effects.publish.push_back(instance);
    }
}

void ChannelCore::adopt(Instance instance)
{
    if (!std::exchange(m_entries[instance].isToAdopt, true))
    {
        m_effects.adopt.push_back(instance);
    }
}

std::uint64_t ChannelCore::digestOf(Instance instance) const
{
    const Decision& decision = m_entries[instance].decision;
    const std::uint64_t written = spreadBits(static_cast<std::uint64_t>(decision.written) + 1);
    return spreadBits(spreadBits(written + instance) ^ m_settings.rules.digest(decision.content));
}

ChannelCore::Effects ChannelCore::takeEffects(const Now& now)
{
    for (const Instance instance : m_effects.remember)
    {
        m_entries[instance].isToRemember = false;
    }
    for (const Instance instance : m_effects.store)
    {
        m_entries[instance].isToStore = false;
    }
    for (const Instance instance : m_effects.adopt)
    {
        m_entries[instance].isToAdopt = false;
    }
    for (const Instance instance : m_effects.publish)
    {
        Entry& entry = m_entries[instance];
        entry.isToPublish = false;
        entry.published = entry.decision.written;
        entry.publishedAt = now.steady;
        entry.onBusAt = now.steady;
    }
    return std::exchange(m_effects, {});
}

std::vector<Instance> ChannelCore::history() const
{
    std::vector<Instance> instances;
    instances.reserve(m_size);
    for (Instance instance = 0; instance < m_entries.size(); ++instance)
    {
        if (m_entries[instance].isKnown && !m_entries[instance].isDecidedHere)
        {
            instances.push_back(instance);
        }
    }
    return instances;
}

BucketRows ChannelCore::rows(Bucket bucket) const
{
    BucketRows rows{.bucket = bucket, .digest = m_digests[bucket], .rows = {}};
    const std::size_t end = std::min<std::size_t>(m_entries.size(), (bucket + std::size_t{1}) * bucketSize);
    for (Instance instance = bucket * bucketSize; instance < end; ++instance)
    {
        if (m_entries[instance].isKnown)
        {
            rows.rows.push_back({instance, m_entries[instance].decision});
        }
    }
    return rows;
}

void ChannelCore::store(Instance instance)
{
    if (!std::exchange(m_entries[instance].isToStore, true))
    {
        m_effects.store.push_back(instance);
    }
}

void ChannelCore::remember(Instance instance)
{
    if (!std::exchange(m_entries[instance].isToRemember, true))
    {
        m_effects.remember.push_back(instance);
    }
}

void ChannelCore::keepAgain()
{
    for (Instance instance = 0; instance < m_entries.size(); ++instance)
    {
        if (m_entries[instance].isKnown)
        {
            store(instance);
            remember(instance);
        }
    }
}

void ChannelCore::repeatDecided()
{
    for (Instance instance = 0; instance < m_entries.size(); ++instance)
    {
        if (m_entries[instance].isDecidedHere)
        {
            publish(instance);
        }
    }
}

void ChannelCore::notPublished(Instance instance)
{
    m_entries[instance].onBusAt = Time(-1);
    publish(instance);
}

const Decision* ChannelCore::known(Instance instance) const
{
    return instance < m_entries.size() && m_entries[instance].isKnown ? &m_entries[instance].decision : nullptr;
}

} // namespace com::tallowcrest::durability
