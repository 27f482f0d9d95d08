#include "buswrappers/ComponentInfoPub.h"
#include "buswrappers/ListenerEvents.h"
#include "tests/unit/buswrappers/RecordingHandler.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace com::tallowcrest::routing;
using namespace dds::core::status;
using dds::core::InstanceHandle;

namespace
{

/// How many buffers of the event's pool are in use, and the pool's name.
template <typename Event>
std::int32_t inUse()
{
    const auto snapshot = Event::pool().snapshot();
    return snapshot.total - snapshot.available;
}

/// Makes an event, sees it in its own pool, runs it, and sees it go back.
template <typename Event, typename... Status>
void runFromItsPool(const std::string& poolName, const std::shared_ptr<DataReaderListenerHandler>& handler,
                    const Status&... status)
{
    EXPECT_EQ(Event::pool().snapshot().name, poolName);
    const std::int32_t before = inUse<Event>();
    {
        const std::unique_ptr<com::tallowcrest::apartment::DoItEvent> sut = std::make_unique<Event>(handler, status...);
        EXPECT_EQ(inUse<Event>(), before + 1) << poolName;
        sut->doIt();
    }
    EXPECT_EQ(inUse<Event>(), before) << poolName;
}

} // namespace

TEST(Event, EachCallsItsOperationWithItsStatusAndGoesBackToItsOwnPool)
{
    const auto handler = std::make_shared<RecordingHandler>();
    const RequestedDeadlineMissedStatus deadline({3, 1}, InstanceHandle(7));
    const RequestedIncompatibleQosStatus incompatible({4, 1}, 11);
    const SampleRejectedStatus rejected({5, 2}, SampleRejectedState::RejectedByInstancesLimit, InstanceHandle(8));
    const LivelinessChangedStatus liveliness(1, 2, 3, 4, InstanceHandle(9));
    const SubscriptionMatchedStatus matched({6, 1}, 2, 1, InstanceHandle(10));
    const SampleLostStatus lost(12, 3);

    runFromItsPool<EventOnRequestedDeadlineMissed>("EventOnRequestedDeadlineMissed", handler, deadline);
    runFromItsPool<EventOnRequestedIncompatibleQos>("EventOnRequestedIncompatibleQos", handler, incompatible);
    runFromItsPool<EventOnSampleRejected>("EventOnSampleRejected", handler, rejected);
    runFromItsPool<EventOnLivelinessChanged>("EventOnLivelinessChanged", handler, liveliness);
    runFromItsPool<EventOnDataAvailable>("EventOnDataAvailable", handler);
    runFromItsPool<EventOnSubscriptionMatched>("EventOnSubscriptionMatched", handler, matched);
    runFromItsPool<EventOnSampleLost>("EventOnSampleLost", handler, lost);

    EXPECT_EQ(handler->calls(),
              (std::vector<std::string>{"RequestedDeadlineMissed", "RequestedIncompatibleQos", "SampleRejected",
                                        "LivelinessChanged", "DataAvailable", "SubscriptionMatched", "SampleLost"}));
    EXPECT_EQ(handler->m_deadline, deadline);
    EXPECT_EQ(handler->m_incompatible, incompatible);
    EXPECT_EQ(handler->m_rejected, rejected);
    EXPECT_EQ(handler->m_liveliness, liveliness);
    EXPECT_EQ(handler->m_matched, matched);
    EXPECT_EQ(handler->m_lost, lost);
}

TEST(Event, CallsNobodyWhenItsHandlerIsGone)
{
    // The object is there, so that a call would be seen; its owners are gone.
    RecordingHandler handler;
    std::shared_ptr<DataReaderListenerHandler> owner(&handler, [](DataReaderListenerHandler*) {});
    std::vector<std::unique_ptr<com::tallowcrest::apartment::DoItEvent>> events;
    events.push_back(std::make_unique<EventOnRequestedDeadlineMissed>(owner, RequestedDeadlineMissedStatus()));
    events.push_back(std::make_unique<EventOnRequestedIncompatibleQos>(owner, RequestedIncompatibleQosStatus()));
    events.push_back(std::make_unique<EventOnSampleRejected>(owner, SampleRejectedStatus()));
    events.push_back(std::make_unique<EventOnLivelinessChanged>(owner, LivelinessChangedStatus()));
    events.push_back(std::make_unique<EventOnDataAvailable>(owner));
    events.push_back(std::make_unique<EventOnSubscriptionMatched>(owner, SubscriptionMatchedStatus()));
    events.push_back(std::make_unique<EventOnSampleLost>(owner, SampleLostStatus(1, 1)));
    EXPECT_EQ(owner.use_count(), 1) << "an event keeps its handler alive";
    owner.reset();

    for (const auto& sut : events)
    {
        sut->doIt();
    }

    EXPECT_EQ(handler.calls(), std::vector<std::string>{});
}

TEST(Event, OperationsThatAHandlerDoesNotHaveAreLeftOutAndTheOthersCalled)
{
    class DataHandler final : public DataReaderListenerHandler
    {
    public:
        void onDataAvailable() override { ++m_calls; }
        int m_calls = 0;
    };
    const auto handler = std::make_shared<DataHandler>();

    EventOnSampleLost(handler, SampleLostStatus(1, 1)).doIt();
    EventOnSubscriptionMatched(handler, SubscriptionMatchedStatus()).doIt();
    EXPECT_EQ(handler->m_calls, 0);
    EventOnDataAvailable(handler).doIt();

    EXPECT_EQ(handler->m_calls, 1);
}

TEST(Event, PublishEventHasAPoolOfItsOwn)
{
    EXPECT_EQ(ComponentInfoPubDoItPublish::pool().snapshot().name, "ComponentInfoPubDoItPublish");
    const std::int32_t before = inUse<ComponentInfoPubDoItPublish>();
    {
        const auto sut = std::make_unique<ComponentInfoPubDoItPublish>(
            std::weak_ptr<ComponentInfoPub>(), com::tallowcrest::dds_::routing::ComponentInfo{});
        EXPECT_EQ(inUse<ComponentInfoPubDoItPublish>(), before + 1);
        sut->doIt();
    }
    EXPECT_EQ(inUse<ComponentInfoPubDoItPublish>(), before);
}
