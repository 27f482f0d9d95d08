#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/DurableTopic.h"
#include "buswrappers/TypedTopics.h"
#include "durability/Channel.h"
#include "durability/ChannelRecorder.h"
#include "durability/Recorder.h"
#include "durability/SourceTime.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/Presence.h"
#include "runtime/util/Metrics.h"
#include "runtime/util/Pooled.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace com::tallowcrest::routing
{

/// When a sample was written, by its writer: microseconds since 1970 (UTC); later than all that its writer knew.
using SourceTime = durability::SourceTime;

/// A sample that was kept, and when it was written.
struct KeptXptOutput
{
    dds_::routing::MacroXptOutput sample;
    SourceTime written = 0;
};

/// What has become known of what is kept, and what for.
struct KeptXptOutputs
{
    using Purpose = durability::Channel::Delivery::Purpose;

    Purpose purpose = Purpose::History;
    std::vector<KeptXptOutput> outputs;
    bool haveReadersAnswered = true; ///< what is published now reaches all readers that are known
};

/// Told about kept samples, on the apartment.
class KeptXptOutputsHandler
{
public:
    KeptXptOutputsHandler() = default;
    virtual ~KeptXptOutputsHandler() = default;
    KeptXptOutputsHandler(const KeptXptOutputsHandler&) = delete;
    KeptXptOutputsHandler& operator=(const KeptXptOutputsHandler&) = delete;

    /// Once after each join with the history, before and after that with what is learnt late. What is older than the
    /// handler's own is to be left alone.
    virtual void onKept(const KeptXptOutputs& kept) = 0;
};

/// Writes crosspoint outputs that outlive the process: PERSISTENT. What was written last of each output, by whomever in
/// the partition, is kept, and told to the handler after each join. Apartment-bound.
class DurableXptOutputPub : public MacroXptOutputPub
{
public:
    /// How long readers that are known may take to notice the writer of a join. One that works needs milliseconds.
    static constexpr std::chrono::milliseconds readersAnswer = durability::ChannelRecorder::readersAnswer;

    /// Greater outputs than `greatest` are not kept. Throws what `sharedRecorder` throws.
    DurableXptOutputPub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName,
                        std::uint32_t greatest, KeptXptOutputsHandler& handler);
    ~DurableXptOutputPub() override;

    /// A join of that partition follows: what its history waits for is waited for from now on, so that those that join
    /// one after the other wait at the same time.
    void expectToJoin(const std::string& routerPartition);
    /// The same, and asks for the history of that partition; nothing is waited for. In the bare one nothing is kept.
    void joinRouterPartition(const std::string& routerPartition) override;

    /// Writes a decision: it is newer than all that is known. When it was written; 0 before the first join.
    SourceTime decide(const dds_::routing::MacroXptOutput& sample);
    /// Writes once more what was written then. When the bus refuses it the handler will be told to do it again.
    void repeat(const dds_::routing::MacroXptOutput& sample, SourceTime written);

    /// On the apartment, by the event that carries it there.
    void take(std::uint64_t join, const KeptXptOutputs& kept);

private:
    void follow(dds::sub::DataReader<dds_::routing::MacroXptOutput> seen,
                dds::sub::DataReader<dds_::routing::MacroXptOutput> history);
    void leave();
    std::shared_ptr<durability::Channel> channelOf(const std::string& routerPartition) const;

    const std::shared_ptr<apartment::SendDoItEvent> m_apartment;
    const std::uint32_t m_greatest;
    KeptXptOutputsHandler& m_handler;
    const std::shared_ptr<durability::Recorder> m_recorder;
    const std::string m_readersLabel;
    util::Gauge m_readers;
    std::shared_ptr<durability::Channel> m_channel;  ///< null outside of routers' partitions
    std::shared_ptr<durability::Channel> m_expected; ///< kept until the join that follows
    std::shared_ptr<DurableTopic<dds_::routing::MacroXptOutput>> m_topic;
    std::uint64_t m_join = 0;                                  ///< counts them
    const apartment::Presence<DurableXptOutputPub> m_presence; ///< for events
};

/// Carries kept samples to the apartment. Owned by the apartment's queue. Does nothing when the publisher is gone.
class EventOnKeptXptOutputs final : public util::Pooled<EventOnKeptXptOutputs, apartment::DoItEvent>
{
public:
    static constexpr const char* poolName = "EventOnKeptXptOutputs";

    EventOnKeptXptOutputs(std::weak_ptr<DurableXptOutputPub> publisher, std::uint64_t join, KeptXptOutputs kept)
        : m_publisher(std::move(publisher)), m_join(join), m_kept(std::move(kept))
    {}

    void doIt() override
    {
        if (const auto publisher = m_publisher.lock())
        {
            publisher->take(m_join, m_kept);
        }
    }

private:
    const std::weak_ptr<DurableXptOutputPub> m_publisher;
    const std::uint64_t m_join;
    const KeptXptOutputs m_kept;
};

} // namespace com::tallowcrest::routing
