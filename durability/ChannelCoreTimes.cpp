// What a channel's neighbours, readers and the time bring about.

#include "durability/ChannelCore.h"

#include <algorithm>
#include <utility>

namespace com::tallowcrest::durability
{

void ChannelCore::neighbourCame(NeighbourId id, const Now& now)
{
    participantCame(now.steady);
    if (id != m_settings.self && m_neighbours.add(id))
    {
        m_isStatusUrgent = true; // it waits to hear that it has been met
    }
}

void ChannelCore::neighbourWent(NeighbourId id, const Now& now)
{
    m_neighbours.remove(id);
    if (now.steady - m_repeatSince < overtakes)
    {
        // What was seen of it may have gone out before it had found the reader.
        m_isRepeatOwn = true;
        planRepeating(now.steady);
    }
}

void ChannelCore::heard(NeighbourId from, Status status, const Now& now)
{
    for (const Status::Want& want : status.wants)
    {
        if (want.of == m_settings.self && want.bucket < m_answerDue.size() && !m_answerDue[want.bucket])
        {
            ++m_numAnswersDue;
            m_answerDue[want.bucket] = std::max(now.steady, m_answeredAt[want.bucket] + answersAgain);
        }
    }
    if (!m_neighbours.put(from, std::move(status), now.steady))
    {
        ++m_numRefused;
    }
}

void ChannelCore::heard(const BucketRows& rows, const Now& now)
{
    if (rows.bucket >= m_digests.size())
    {
        ++m_numRefused;
        return;
    }
    for (const BucketRows::Row& row : rows.rows)
    {
        learn(row.instance, row.decision, Source::Neighbour, now);
    }
    m_neighbours.takeOver(rows.bucket, rows.digest);
}

void ChannelCore::readerCame(const Now& now)
{
    m_repeatSince = now.steady;
    planRepeating(now.steady);
}

void ChannelCore::planRepeating(Time now)
{
    if (!m_repeatDue)
    {
        const std::size_t rank = std::min(m_neighbours.rank(m_settings.self), lastRank);
        m_repeatDue = std::max(now, m_repeatedAt + repeatsAfterEach) + static_cast<int>(rank) * repeatsAfterEach;
    }
}

void ChannelCore::tick(const Now& now)
{
    serveJoin(now.steady);
    askForMissing(now.steady);
    answerWants(now.steady);
    repeatForReaders(now.steady);
    tellStatus(now.steady);
}

void ChannelCore::expectJoin(const Now& now)
{
    m_isExpected = true;
    beginToWait(now.steady);
}

void ChannelCore::beginToWait(Time now)
{
    m_isSettled = false;
    m_waitsSince = now;
}

bool ChannelCore::isSettled(Time now)
{
    if (!m_isSettled && ((now >= m_settings.started + settlesAfterStart && now >= m_newcomer + settlesAfterNewcomer) ||
                         now >= m_waitsSince + longestSettling))
    {
        m_isSettled = true;
        m_answersUntil = now + neighboursAnswer;
    }
    return m_isSettled;
}

void ChannelCore::serveJoin(Time now)
{
    m_isExpected = m_isExpected && now < m_waitsSince + expected;
    if (m_isExpected && m_isStoreTried)
    {
        static_cast<void>(isSettled(now)); // from then on the neighbours' time runs
    }
    const bool hasStoreAnswered = m_isStoreTried || now >= m_joinedAt + storeAnswers;
    if (!m_isWaiting || !hasStoreAnswered || !isSettled(now))
    {
        return;
    }
    const std::size_t silent = m_neighbours.uncovered(m_settings.self, m_digests);
    if (silent == 0 || now >= m_answersUntil)
    {
        m_isWaiting = false;
        m_effects.completed = Completed{m_ticket, silent};
        if (m_repeatDue)
        {
            m_repeatDue = now + repeatsAfterEach; // the bridge publishes nearly everything now
        }
    }
}

void ChannelCore::askForMissing(Time now)
{
    if (now >= m_wantedAt + asksAgain && !m_wants.empty())
    {
        ++m_attempt;
    }
    const bool isUrgent = m_isWaiting || m_isExpected;
    std::vector<Status::Want> wants =
        m_neighbours.missing(m_digests, isUrgent ? now : now - differenceStands, m_attempt);
    if (!isUrgent)
    {
        // What changes here is being learnt already.
        std::erase_if(wants,
                      [&](const Status::Want& want) { return m_changedAt[want.bucket] > now - differenceStands; });
    }
    if (wants != m_wants)
    {
        m_isStatusUrgent = m_isStatusUrgent || !wants.empty();
        m_wantedAt = now;
        m_wants = std::move(wants);
    }
    else if (now >= m_wantedAt + asksAgain && !m_wants.empty())
    {
        m_isStatusUrgent = true;
        m_wantedAt = now;
    }
}

void ChannelCore::answerWants(Time now)
{
    for (Bucket bucket = 0; m_numAnswersDue > 0 && bucket < m_answerDue.size(); ++bucket)
    {
        if (m_answerDue[bucket] && now >= *m_answerDue[bucket])
        {
            m_answerDue[bucket].reset();
            --m_numAnswersDue;
            m_answeredAt[bucket] = now;
            m_effects.handOver.push_back(bucket);
        }
    }
}

void ChannelCore::repeatForReaders(Time now)
{
    if (!m_repeatDue || now < *m_repeatDue || m_isWaiting)
    {
        return;
    }
    // Whoever came with the reader may know better: what it says is waited for, but not for long.
    const bool isNewsDue =
        now < m_newcomer + settlesAfterNewcomer || !m_neighbours.areCovered(m_settings.self, m_digests);
    if (isNewsDue && now < m_repeatSince + newsAnswers)
    {
        return;
    }
    m_repeatDue.reset();
    m_repeatedAt = now;
    const bool isOwn = std::exchange(m_isRepeatOwn, false);
    for (Instance instance = 0; instance < m_entries.size(); ++instance)
    {
        const Entry& entry = m_entries[instance];
        const bool isPublished = entry.published == entry.decision.written && entry.publishedAt >= m_repeatSince;
        if (entry.isKnown && !(isOwn ? isPublished : entry.onBusAt >= m_repeatSince))
        {
            publish(instance);
        }
    }
}

void ChannelCore::tellStatus(Time now)
{
    if ((m_isStatusUrgent && now >= m_toldAt + tellsUrgently) || (m_isStatusOld && now >= m_toldAt + tellsAgain))
    {
        m_isStatusUrgent = false;
        m_isStatusOld = false;
        m_toldAt = now;
        m_effects.isStatusNew = true;
    }
}

bool ChannelCore::isInHurry() const
{
    return m_isWaiting || m_isExpected || m_isStatusUrgent || m_repeatDue || m_numAnswersDue > 0;
}

Status ChannelCore::status() const
{
    return {.digests = m_digests, .met = m_neighbours.ids(), .wants = m_wants};
}

} // namespace com::tallowcrest::durability
