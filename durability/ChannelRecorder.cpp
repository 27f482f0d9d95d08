#include "durability/ChannelRecorder.h"

#include "runtime/util/Log.h"

#include <algorithm>
#include <utility>

namespace com::tallowcrest::durability
{

namespace
{

constexpr std::chrono::seconds portRetry{1};
/// A peer that gives nothing for so long has died without a word, or is out of reach.
constexpr std::chrono::seconds longestSilence{3};

} // namespace

ChannelRecorder::ChannelRecorder(dds_entity_t participant, std::shared_ptr<Channel> channel, StoreKeeper& keeper,
                                 RecentRows& recent, util::WakeEvent& wake)
    : m_participant(participant), m_channel(std::move(channel)), m_keeper(keeper), m_recent(recent), m_wake(wake),
      m_logger(util::bridgeLogger()), m_sample(m_channel->codec().sampleSize)
{}

bool ChannelRecorder::work(Clock::time_point now)
{
    bool isDue = takeHandedOver();
    m_recent.flush(); // before anything that may take its time
    const bool isUsed = m_channel->isUsed();
    // The store comes first, so that the port can announce from the start how much there is.
    if (m_keeper.hasTried())
    {
        isDue = takeLoaded() || isDue;
        if (isUsed && m_port == nullptr && now >= m_nextTry)
        {
            openPort(now);
        }
        m_isLoaded = true;
    }
    if (m_port != nullptr)
    {
        isDue = takeFromBus(now) || isDue;
        m_recent.flush();
        if (m_port->takeNewReaders())
        {
            makeForeignDue();
        }
        m_port->promise(m_channel->size());
        writeDue();
        if (!isUsed)
        {
            closePort();
        }
    }
    if (m_channel->takeRefusal())
    {
        LOG4CXX_WARN(m_logger, "Durable topic " << m_channel->name().topic << " in " << m_channel->name().partition
                                                << ": more than " << SampleTable::maxInstances
                                                << " instances, the rest is not kept");
    }
    return isDue;
}

bool ChannelRecorder::takeHandedOver()
{
    m_channel->drain(m_batch);
    bool isDue = false;
    const TypeCodec& codec = m_channel->codec();
    for (const auto& [instance, index] : m_newest.find(m_batch, codec))
    {
        const void* const sample = &m_batch.samples[index * codec.sampleSize];
        if (m_channel->apply(*instance, sample, m_batch.times[index], Channel::Origin::Writer))
        {
            isDue = true;
            m_due.add(*instance);
            m_recent.append(m_channel->rowOf(*instance, sample, m_batch.times[index]));
        }
    }
    return isDue;
}

bool ChannelRecorder::takeLoaded()
{
    bool isDue = false;
    bool isStored = false;
    const std::size_t unreadable = applyRows(m_keeper.takeLoaded(m_channel->name()), Channel::Origin::Store, isStored) +
                                   applyRows(m_recent.takeLoaded(m_channel->name()), Channel::Origin::Memory, isDue);
    if (unreadable > 0)
    {
        LOG4CXX_WARN(m_logger, "Durable topic " << m_channel->name().topic << " in " << m_channel->name().partition
                                                << ": " << unreadable << " stored rows make no sense and are left out");
    }
    return isDue;
}

std::size_t ChannelRecorder::applyRows(const std::vector<StoredRow>& rows, Channel::Origin origin, bool& isDue)
{
    const TypeCodec& codec = m_channel->codec();
    std::size_t unreadable = 0;
    for (const StoredRow& row : rows)
    {
        std::fill(m_sample.begin(), m_sample.end(), std::byte{0});
        if (row.type != codec.typeName || !codec.parse(row.payload, m_sample.data()) ||
            codec.instanceText(m_sample.data()) != row.instance)
        {
            ++unreadable;
        }
        else if (m_channel->apply(row.instance, m_sample.data(), believed(row.written), origin))
        {
            isDue = true;
            m_due.add(row.instance);
        }
    }
    return unreadable;
}

bool ChannelRecorder::takeFromBus(Clock::time_point now)
{
    bool isDue = false;
    m_port->take(
        [&](const void* sample, SourceTime written, dds_instance_handle_t instance, dds_instance_handle_t writer) {
            const std::string name = m_channel->codec().instanceText(sample);
            if (m_channel->apply(name, sample, written, Channel::Origin::Bus))
            {
                isDue = true;
                m_recent.append(m_channel->rowOf(name, sample, written));
            }
            m_received[writer].insert(instance);
            m_progress = now;
        });
    return isDue;
}

void ChannelRecorder::openPort(Clock::time_point now)
{
    try
    {
        m_port = std::make_unique<CompanionPort>(m_participant, m_channel->name(), m_channel->codec(),
                                                 m_channel->size(), m_wake);
        m_isWarned = false;
        makeForeignDue();
    }
    catch (const BusError& error)
    {
        m_nextTry = now + portRetry;
        if (!std::exchange(m_isWarned, true))
        {
            LOG4CXX_WARN(m_logger, "Durable topic " << m_channel->name().topic << " in " << m_channel->name().partition
                                                    << ": cannot meet other bridges: " << error.what());
        }
    }
}

void ChannelRecorder::closePort()
{
    m_port.reset();
    m_due.clear();
    m_onCompanion.clear();
    m_received.clear();
}

void ChannelRecorder::makeForeignDue()
{
    // A newcomer must get what we know from others too: they may be gone, and nobody may have noticed yet.
    for (const auto& [instance, written] : m_channel->keptTimes())
    {
        const auto found = m_onCompanion.find(instance);
        if (found == m_onCompanion.end() || found->second != written)
        {
            m_due.add(instance);
        }
    }
}

void ChannelRecorder::writeDue()
{
    if (m_due.empty())
    {
        return;
    }
    m_due.handleAll([this](const std::string& instance) { return writeOnCompanion(instance); });
    m_port->flush();
}

bool ChannelRecorder::writeOnCompanion(const std::string& instance)
{
    const std::optional<KeptSample> kept = m_channel->kept(instance);
    if (!kept)
    {
        return true;
    }
    const auto found = m_onCompanion.find(instance);
    if (found != m_onCompanion.end() && found->second == kept->written)
    {
        return true; // written since it became due
    }
    const dds_return_t code = m_port->write(kept->sample.data(), kept->written);
    if (code == DDS_RETCODE_OK)
    {
        m_onCompanion[instance] = kept->written;
        m_isWarned = false;
        return true;
    }
    if (code != DDS_RETCODE_TIMEOUT && !std::exchange(m_isWarned, true))
    {
        LOG4CXX_WARN(m_logger, "Durable topic " << m_channel->name().topic << " in " << m_channel->name().partition
                                                << ": cannot be handed to other bridges: " << dds_strretcode(code));
    }
    return false; // again next time
}

std::size_t ChannelRecorder::incompletePeers()
{
    std::size_t incomplete = 0;
    for (const CompanionPort::Peer& peer : m_port->peers())
    {
        const auto found = m_received.find(peer.writer);
        if ((found == m_received.end() ? 0 : found->second.size()) < peer.promised)
        {
            ++incomplete;
        }
    }
    return incomplete;
}

bool ChannelRecorder::serveWait(const Channel::Waiting& waiting, ParticipantWatch& participants, Clock::time_point now)
{
    if (waiting.ticket == 0)
    {
        return false;
    }
    // Without a store there is nothing to wait for on its side; without a port, nobody else's. A store that was read
    // since the last look counts from the next one on, which opens the port.
    if (!m_isLoaded || (m_port != nullptr && !participants.isSettled(waiting.since, now)))
    {
        return true;
    }
    const std::size_t incomplete = m_port == nullptr ? 0 : incompletePeers();
    if (incomplete > 0)
    {
        if (now < std::max(waiting.since, m_progress) + longestSilence)
        {
            return true;
        }
        LOG4CXX_WARN(m_logger, "Durable topic " << m_channel->name().topic << " in " << m_channel->name().partition
                                                << ": " << incomplete
                                                << " other bridges are silent and no longer waited for");
    }
    m_channel->complete(waiting.ticket);
    return false;
}

} // namespace com::tallowcrest::durability
