#include "buswrappers/ListenerEventSender.h"

#include "bustypes/TypeSupport.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/support/LogRecorder.h"
#include "tests/unit/buswrappers/RecordingHandler.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace com::tallowcrest::routing;
using namespace dds::core::status;
using com::tallowcrest::dds_::routing::MacroLevel;
using dds::core::InstanceHandle;

class ListenerEventSenderTest : public testing::Test
{
protected:
    std::shared_ptr<RecordingHandler> m_handler = std::make_shared<RecordingHandler>();
    std::shared_ptr<FakeApartment> m_apartment = std::make_shared<FakeApartment>();
    ListenerEventSender<MacroLevel> m_sut{m_handler, m_apartment};
    dds::sub::DataReader<MacroLevel> m_reader{dds::core::null};
};

TEST_F(ListenerEventSenderTest, PostsOneEventForEachCallbackAndCallsTheHandlerOnlyOnTheApartment)
{
    m_sut.on_requested_deadline_missed(m_reader, {{1, 1}, InstanceHandle(5)});
    m_sut.on_requested_incompatible_qos(m_reader, {{2, 1}, 11});
    m_sut.on_sample_rejected(m_reader, {{3, 1}, SampleRejectedState::RejectedBySamplesLimit, InstanceHandle(6)});
    m_sut.on_liveliness_changed(m_reader, {1, 0, 1, 0, InstanceHandle(7)});
    m_sut.on_data_available(m_reader);
    m_sut.on_subscription_matched(m_reader, {{4, 1}, 1, 1, InstanceHandle(8)});
    m_sut.on_sample_lost(m_reader, SampleLostStatus(5, 1));

    EXPECT_TRUE(m_handler->calls().empty()) << "the callback itself must not call the handler";
    EXPECT_EQ(m_apartment->runAll(), 7U);
    EXPECT_EQ(m_handler->calls(),
              (std::vector<std::string>{"RequestedDeadlineMissed", "RequestedIncompatibleQos", "SampleRejected",
                                        "LivelinessChanged", "DataAvailable", "SubscriptionMatched", "SampleLost"}));
    EXPECT_EQ(m_handler->m_rejected.last_reason(), SampleRejectedState::RejectedBySamplesLimit);
    EXPECT_EQ(m_handler->m_rejected.last_instance_handle(), InstanceHandle(6));
    EXPECT_EQ(m_handler->m_matched.current_count(), 1);
}

TEST_F(ListenerEventSenderTest, EventThatCannotBePostedGoesBackToItsPoolAndIsReported)
{
    const testsupport::LogRecorder log;
    ListenerEventSender<MacroLevel> sut(m_handler, m_apartment);
    m_apartment->refuse();
    const auto before = EventOnDataAvailable::pool().snapshot().available;

    EXPECT_NO_THROW(sut.on_data_available(m_reader));

    EXPECT_EQ(m_apartment->refused(), 1);
    EXPECT_EQ(EventOnDataAvailable::pool().snapshot().available, before);
    EXPECT_TRUE(m_handler->calls().empty());
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].level, "ERROR");
    EXPECT_EQ(log.lines()[0].logger, "KORABRIDGE");
    EXPECT_EQ(log.lines()[0].text, "EventOnDataAvailable lost: no room");
}

TEST_F(ListenerEventSenderTest, FloodOfSamplesIsNoFloodOfEvents)
{
    for (int i = 0; i < 1000; ++i)
    {
        m_sut.on_data_available(m_reader);
    }

    EXPECT_EQ(m_apartment->pending(), static_cast<std::size_t>(WaitingEvents::most));
}

TEST_F(ListenerEventSenderTest, WhatComesWhileAnEventTakesGetsAnotherOne)
{
    for (int i = 0; i < 10; ++i)
    {
        m_sut.on_data_available(m_reader);
    }
    m_apartment->runAll();

    m_sut.on_data_available(m_reader);

    EXPECT_EQ(m_apartment->pending(), 1U);
    m_handler->m_duringData = [this] { m_sut.on_data_available(m_reader); };
    m_apartment->runOnce();
    EXPECT_EQ(m_apartment->pending(), 1U) << "the event has begun to take when the sample comes";
}

TEST_F(ListenerEventSenderTest, EventsThatCannotBePostedKeepNoOthersAway)
{
    const auto refusing = std::make_shared<FakeApartment>(FakeApartment::Sent::IsRefused);
    ListenerEventSender<MacroLevel> sut(m_handler, refusing);

    for (int i = 0; i < 3 * WaitingEvents::most; ++i)
    {
        sut.on_data_available(m_reader);
    }

    EXPECT_EQ(refusing->refused(), 3 * WaitingEvents::most);
}
