#include "tests/chaos/BusWatch.h"

#include "buswrappers/TopicSub.h"
#include "runtime/apartment/Apartment.h"
#include "tests/chaos/World.h"

#include <algorithm>
#include <functional>
#include <utility>

using com::tallowcrest::routing::TopicName;
using dds::sub::status::InstanceState;

namespace chaos
{

namespace
{

/// The link's code of a lock state of the bus.
std::uint32_t linkCode(com::tallowcrest::dds_::routing::LPRState state)
{
    using namespace com::tallowcrest::dds_::routing;
    return state == LPR_LOCKED ? 1U : state == LPR_PROTECTED ? 2U : 0U;
}

constexpr std::uint32_t invalidSource = 3;

} // namespace

/// One topic in one partition.
class BusWatch::Sub final : public com::tallowcrest::routing::TopicSub<MacroXptOutput>
{
public:
    using OnSample = std::function<void(const MacroXptOutput&, const dds::sub::SampleInfo&)>;

    Sub(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment, TopicName topic, OnSample onSample)
        : TopicSub(std::move(apartment), com::tallowcrest::routing::topicName(topic),
                   dds::core::policy::DurabilityKind::TRANSIENT_LOCAL),
          m_onSample(std::move(onSample))
    {}

    void onDataAvailable() override
    {
        for (const auto& sample : takeAll())
        {
            m_onSample(sample.data(), sample.info());
        }
    }

private:
    OnSample m_onSample;
};

BusWatch::BusWatch(World& world, const std::vector<std::string>& partitions)
    : m_world(world), m_partitions(partitions),
      m_apartment(std::make_shared<com::tallowcrest::apartment::Apartment>("Bus Watch"))
{
    for (std::size_t i = 0; i < m_partitions.size(); ++i)
    {
        for (const Signal signal : {Signal::Video, Signal::Audio})
        {
            const bool isVideo = signal == Signal::Video;
            m_subs.push_back(std::make_unique<Sub>(
                m_apartment, isVideo ? TopicName::MacroXptOutputVideoTarget : TopicName::MacroXptOutputAudioTarget,
                [this, i, signal](const auto& sample, const auto& info) {
                    onTarget(m_partitions[i], signal, sample, info);
                }));
            m_subs.back()->joinRouterPartition(m_partitions[i]);
            m_subs.push_back(std::make_unique<Sub>(
                m_apartment, isVideo ? TopicName::MacroXptOutputVideoStatus : TopicName::MacroXptOutputAudioStatus,
                [this, i, signal](const auto& sample, const auto& info) { onStatus(i, signal, sample, info); }));
            m_subs.back()->joinRouterPartition(m_partitions[i]);
        }
    }
    m_apartment->start();
}

BusWatch::~BusWatch()
{
    m_apartment->stop();
}

void BusWatch::follow(const std::string& partition)
{
    const auto found = std::find(m_partitions.begin(), m_partitions.end(), partition);
    m_followed = static_cast<std::size_t>(found - m_partitions.begin());
}

void BusWatch::onTarget(const std::string& partition, Signal signal, const MacroXptOutput& sample,
                        const dds::sub::SampleInfo& info)
{
    if (sample.macroXptOutput > sizeOf(signal))
    {
        return; // of an output that nobody has
    }
    if (m_world.takes.expects({signal, sample.macroXptOutput}, sample.lprId) &&
        m_world.takesSabotage(Sabotage::LostTake))
    {
        m_overlooked = sample.lprId;
    }
    if (!info.valid() || m_overlooked == sample.lprId)
    {
        return;
    }
    m_world.takes.seen({.partition = partition,
                        .crosspoint = {signal, sample.macroXptOutput},
                        .number = sample.lprId,
                        .input = sample.macroXptInput,
                        .lprState = sample.lprState,
                        .writer = info.publication_handle().value(),
                        .written = info.timestamp().to_nanoseconds()},
                       Clock::now());
}

void BusWatch::onStatus(std::size_t partition, Signal signal, const MacroXptOutput& sample,
                        const dds::sub::SampleInfo& info)
{
    if (partition != m_followed || sample.macroXptOutput > sizeOf(signal))
    {
        return;
    }
    const Crosspoint crosspoint{signal, sample.macroXptOutput};
    const auto now = Clock::now();
    if (info.valid())
    {
        const bool isOfLevel = sample.macroXptInput >= 1 && sample.macroXptInput <= sizeOf(signal);
        m_world.changes.published(
            crosspoint, {isOfLevel ? 0 : invalidSource, sample.macroXptInput, linkCode(sample.lprState), sample.lprId},
            now);
    }
    else if (info.state().instance_state() == InstanceState::NotAliveDisposed)
    {
        m_world.changes.disposed(crosspoint, {invalidSource, 0, 0, 0}, now);
    }
    else
    {
        m_world.changes.forget(crosspoint);
    }
}

} // namespace chaos
