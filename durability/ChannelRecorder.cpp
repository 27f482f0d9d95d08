#include "durability/ChannelRecorder.h"

#include "dds/core/Exception.hpp"
#include "durability/Participants.h"
#include "runtime/util/Log.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>

namespace com::tallowcrest::durability
{

namespace
{

ChannelCore::Time steady(std::chrono::steady_clock::time_point point)
{
    return std::chrono::duration_cast<ChannelCore::Time>(point.time_since_epoch());
}

bool parseInstance(const std::string& text, Instance& instance)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), instance);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

} // namespace

ChannelRecorder::ChannelRecorder(const dds::domain::DomainParticipant& participant, Clock::time_point started,
                                 std::shared_ptr<Channel> channel, StoreKeeper& keeper, RecentRows& recent,
                                 util::WakeEvent& wake)
    : m_channel(std::move(channel)), m_keeper(keeper), m_recent(recent), m_logger(util::bridgeLogger()),
      m_description("Durable topic " + m_channel->name().topic + " in " + m_channel->name().partition),
      m_participant(participant), m_wake(wake), m_core({.greatest = m_channel->settings().greatest,
                                                        .self = nameOf(participant.key()),
                                                        .isShared = m_channel->settings().isShared,
                                                        .started = steady(started),
                                                        .rules = m_channel->codec().rules},
                                                       m_channel->clock()),
      m_drainedAt(steady(Clock::now())), m_lastDecided(m_channel->settings().greatest + std::size_t{1})
{}

ChannelCore::Now ChannelRecorder::now() const
{
    return {steady(std::chrono::steady_clock::now()), fromBusTime(m_participant.current_time().to_nanoseconds())};
}

bool ChannelRecorder::work(std::chrono::steady_clock::time_point newcomer)
{
    openPort();
    takeJoin();
    takeHandedOver(); // before anything that others say
    takeLoaded();
    m_core.participantCame(steady(newcomer));
    takeFromBus();
    lookAtReaders();
    for (const Instance instance : m_channel->takeRefused())
    {
        m_core.notPublished(instance);
    }
    m_core.tick(now());
    const bool isDue = carryOut();
    deliver();
    reportRefused();
    return isDue;
}

void ChannelRecorder::openPort()
{
    if (m_port || Clock::now() < m_portDue)
    {
        return;
    }
    try
    {
        m_port.emplace(m_participant, m_channel->name(), m_channel->settings().bridgesWrite, m_wake);
        m_isPortReported = false;
    }
    catch (const dds::core::Exception& error)
    {
        m_portDue = Clock::now() + portRetry;
        if (!std::exchange(m_isPortReported, true))
        {
            LOG4CXX_WARN(m_logger, m_description << ": cannot meet other bridges: " << error.what());
        }
    }
}

void ChannelRecorder::takeJoin()
{
    if (m_channel->takeExpected())
    {
        m_core.expectJoin(now());
    }
    if (auto join = m_channel->takeJoin())
    {
        takeSeen(); // what lay in the earlier reader
        m_topic = std::move(join->topic);
        m_deliver = std::move(join->deliver);
        m_ticket = join->ticket;
        m_joinedAt = Clock::now();
        m_isJoining = true;
        m_haveReadersAnswered = false;
        m_completed.reset();
        m_toAdopt.clear(); // the join brings it
        m_toRepeat.clear();
        m_core.join(m_ticket, now());
    }
    else if (m_channel->isLeft())
    {
        takeSeen();
        m_topic.reset();
        m_deliver = nullptr;
        m_completed.reset();
    }
}

void ChannelRecorder::takeHandedOver()
{
    const ChannelCore::Now looked = now();
    const ChannelCore::Time earliest = std::exchange(m_drainedAt, looked.steady);
    m_channel->drain(m_batch);
    findLastDecided();
    const TypeCodec& codec = m_channel->codec();
    for (std::size_t i = 0; i < m_batch.size(); ++i)
    {
        const void* const value = valueAt(i);
        const Instance instance = codec.instanceOf(value);
        const bool isDecided = isDecidedSinceJoin(i);
        if (isDecided && instance < m_lastDecided.size() && m_lastDecided[instance] != i)
        {
            continue; // what follows it in this batch was decided later
        }
        Decision decision{.written = m_batch.written[i].time, .content = codec.contentOf(value)};
        if (isDecided)
        {
            m_core.decided(instance, std::move(decision), earliest, looked);
        }
        else
        {
            m_core.published(instance, std::move(decision), earliest, looked);
        }
    }
}

void ChannelRecorder::findLastDecided()
{
    for (std::size_t i = 0; i < m_batch.size(); ++i)
    {
        const Instance instance = m_channel->codec().instanceOf(valueAt(i));
        if (isDecidedSinceJoin(i) && instance < m_lastDecided.size())
        {
            m_lastDecided[instance] = i;
        }
    }
}

bool ChannelRecorder::isDecidedSinceJoin(std::size_t i) const
{
    const HandOver::Written& written = m_batch.written[i];
    return !written.isHistory && written.ticket == m_ticket; // what was decided before the join comes back with it
}

void ChannelRecorder::takeLoaded()
{
    // Asked first: rows that come in between are the next look's, and so is the end of the reading.
    const bool hasStoreAnswered = m_keeper.hasTried(m_channel->name());
    const std::size_t unreadable = applyRows(m_keeper.takeLoaded(m_channel->name()), ChannelCore::Kept::Store) +
                                   applyRows(m_recent.takeLoaded(m_channel->name()), ChannelCore::Kept::Memory);
    if (unreadable > 0)
    {
        LOG4CXX_WARN(m_logger, m_description << ": " << unreadable << " stored rows make no sense and are left out");
    }
    if (hasStoreAnswered)
    {
        m_core.storeTried();
    }
}

std::size_t ChannelRecorder::applyRows(std::vector<StoredRow> rows, ChannelCore::Kept where)
{
    const TypeCodec& codec = m_channel->codec();
    std::size_t unreadable = 0;
    for (StoredRow& row : rows)
    {
        Instance instance = 0;
        if (row.type == codec.typeName && parseInstance(row.instance, instance) &&
            codec.normalize(row.payload, instance))
        {
            m_core.loaded(instance, {.written = row.written, .content = std::move(row.payload)}, where, now());
        }
        else
        {
            ++unreadable;
        }
    }
    return unreadable;
}

void ChannelRecorder::takeSeen()
{
    if (m_topic != nullptr)
    {
        m_topic->takeSeen(
            [this](Instance instance, Decision decision) { m_core.seen(instance, std::move(decision), now()); });
    }
}

void ChannelRecorder::takeFromBus()
{
    const TypeCodec& codec = m_channel->codec();
    if (m_topic != nullptr)
    {
        // Asked first: what is seen from then on has found the reader.
        if (m_topic->hasNewReader())
        {
            m_core.readerCame(now());
        }
        takeSeen();
    }
    if (!m_port)
    {
        return;
    }
    m_port->take({.onNeighbour =
                      [&](NeighbourId id, bool isThere) {
                          if (isThere)
                          {
                              m_core.neighbourCame(id, now());
                          }
                          else
                          {
                              m_core.neighbourWent(id, now());
                          }
                      },
                  .onStatus = [&](NeighbourId id, Status status) { m_core.heard(id, std::move(status), now()); },
                  .onRows =
                      [&](BucketRows rows) {
                          std::erase_if(rows.rows, [&](BucketRows::Row& row) {
                              return !codec.normalize(row.decision.content, row.instance);
                          });
                          m_core.heard(rows, now());
                      }});
    if (m_port->crowd() > Neighbours::most && !std::exchange(m_isCrowdReported, true))
    {
        LOG4CXX_WARN(m_logger, m_description << ": " << m_port->crowd() << " other participants keep it, "
                                             << Neighbours::most
                                             << " are heard, those with a bridge's component record first");
    }
}

void ChannelRecorder::lookAtReaders()
{
    if (m_topic == nullptr)
    {
        return;
    }
    if (!m_topic->haveReadersAnswered())
    {
        m_unansweredSince = m_unansweredSince ? m_unansweredSince : Clock::now();
        return;
    }
    const auto since = std::exchange(m_unansweredSince, std::nullopt);
    const bool isFirstAnswer = !std::exchange(m_haveReadersAnswered, true);
    if (isFirstAnswer && m_isJoining)
    {
        m_core.repeatDecided(); // all else follows with the history
    }
    else if (isFirstAnswer || (since && Clock::now() >= *since + readersAreAway))
    {
        m_core.readerCame(now());
    }
}

bool ChannelRecorder::carryOut()
{
    const ChannelCore::Effects effects = m_core.takeEffects(now());
    for (const Instance instance : effects.remember)
    {
        m_recent.append(rowOf(instance));
    }
    for (const Instance instance : effects.store)
    {
        m_keeper.put(rowOf(instance));
    }
    m_toAdopt.insert(m_toAdopt.end(), effects.adopt.begin(), effects.adopt.end());
    m_toRepeat.insert(m_toRepeat.end(), effects.publish.begin(), effects.publish.end());
    tellNeighbours(effects);
    if (effects.completed && effects.completed->ticket == m_ticket)
    {
        m_completed = effects.completed;
        if (m_completed->silent > 0)
        {
            LOG4CXX_WARN(m_logger, m_description << ": " << m_completed->silent
                                                 << " other bridges are silent and no longer waited for");
        }
    }
    return !effects.store.empty();
}

/// What could not be sent is not repeated here.
void ChannelRecorder::tellNeighbours(const ChannelCore::Effects& effects)
{
    if (!m_port)
    {
        return;
    }
    const auto attempt = [this](const auto& send) {
        try
        {
            send();
        }
        catch (const dds::core::Exception& error)
        {
            if (!std::exchange(m_isSendingReported, true))
            {
                LOG4CXX_WARN(m_logger, m_description << ": cannot be handed to other bridges: " << error.what());
            }
        }
    };
    for (const Bucket bucket : effects.handOver)
    {
        attempt([&] { m_port->handOver(m_core.rows(bucket)); });
    }
    if (effects.isStatusNew)
    {
        attempt([&] { m_port->tell(m_core.status()); });
    }
}

/// What could not be delivered stays for the next look.
void ChannelRecorder::deliver()
{
    using Purpose = Channel::Delivery::Purpose;
    if (m_deliver == nullptr)
    {
        m_toAdopt.clear(); // nobody has joined
        m_toRepeat.clear();
        return;
    }
    for (auto [instances, purpose] : {std::pair{&m_toAdopt, Purpose::Adopt}, std::pair{&m_toRepeat, Purpose::Repeat}})
    {
        if (!instances->empty())
        {
            deliver(*instances, purpose);
            instances->clear();
        }
    }
    if (m_completed && (m_haveReadersAnswered || Clock::now() >= m_joinedAt + readersAnswer))
    {
        deliver(m_core.history(), Purpose::History);
        m_completed.reset();
        m_isJoining = false;
        m_topic->endHistory();
    }
}

void ChannelRecorder::deliver(const std::vector<Instance>& instances, Channel::Delivery::Purpose purpose)
{
    Channel::Delivery delivery{.purpose = purpose, .decisions = {}, .haveReadersAnswered = m_haveReadersAnswered};
    delivery.decisions.reserve(instances.size());
    for (const Instance instance : instances)
    {
        delivery.decisions.push_back(*m_core.known(instance));
    }
    m_deliver(std::move(delivery));
}

void ChannelRecorder::reportRefused()
{
    const std::size_t refused = m_core.takeRefused();
    if (refused > 0 && !std::exchange(m_isRefusalReported, true))
    {
        LOG4CXX_WARN(m_logger, m_description << ": " << refused << " targets of others are refused");
    }
}

StoredRow ChannelRecorder::rowOf(Instance instance) const
{
    const Decision& decision = *m_core.known(instance);
    return {m_channel->name(), std::to_string(instance), m_channel->codec().typeName, decision.written,
            decision.content};
}

} // namespace com::tallowcrest::durability
