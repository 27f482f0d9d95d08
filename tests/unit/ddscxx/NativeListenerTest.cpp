#include "dds/detail/NativeListener.hpp"

#include "bustypes/TypeSupport.h"
#include "dds/dds.hpp"
#include "tests/support/WaitUntil.h"

#include <dds/ddsrt/log.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

using namespace dds::core::status;
using dds::core::InstanceHandle;

namespace
{

/// Keeps what it was called with.
class Recording
{
public:
    dds::detail::ReaderCallback& callback() { return m_callback; }

    bool m_throws = false;
    bool m_throwsNumber = false;
    int m_dataAvailable = 0;
    RequestedDeadlineMissedStatus m_deadline;
    RequestedIncompatibleQosStatus m_incompatible;
    SampleRejectedStatus m_rejected;
    LivelinessChangedStatus m_liveliness;
    SubscriptionMatchedStatus m_matched;
    SampleLostStatus m_lost;

private:
    void keep(const RequestedDeadlineMissedStatus& status) { m_deadline = status; }
    void keep(const RequestedIncompatibleQosStatus& status) { m_incompatible = status; }
    void keep(const SampleRejectedStatus& status) { m_rejected = status; }
    void keep(const LivelinessChangedStatus& status) { m_liveliness = status; }
    void keep(const SubscriptionMatchedStatus& status) { m_matched = status; }
    void keep(const SampleLostStatus& status) { m_lost = status; }
    void keep(const DataAvailableStatus&)
    {
        ++m_dataAvailable;
        if (m_throws)
        {
            throw std::runtime_error("the listener failed");
        }
        if (m_throwsNumber)
        {
            throw 1;
        }
    }

    dds::detail::ReaderCallback m_callback = [this](const ReaderStatus& status) {
        std::visit([this](const auto& which) { keep(which); }, status);
    };
};

} // namespace

TEST(NativeListener, ForwardsEachStatusAsACopy)
{
    Recording recording;
    const dds::detail::NativeListener sut(recording.callback(), StatusMask::all());

    dds_on_requested_deadline_missed_fn deadlineMissed = nullptr;
    dds_lget_requested_deadline_missed(sut.get(), &deadlineMissed);
    ASSERT_NE(deadlineMissed, nullptr);
    deadlineMissed(1, {3, 1, 77}, &recording.callback());
    EXPECT_EQ(recording.m_deadline, RequestedDeadlineMissedStatus({3, 1}, InstanceHandle(77)));

    dds_on_requested_incompatible_qos_fn incompatibleQos = nullptr;
    dds_lget_requested_incompatible_qos(sut.get(), &incompatibleQos);
    ASSERT_NE(incompatibleQos, nullptr);
    incompatibleQos(1, {4, 2, 11}, &recording.callback());
    EXPECT_EQ(recording.m_incompatible, RequestedIncompatibleQosStatus({4, 2}, 11));

    dds_on_sample_rejected_fn sampleRejected = nullptr;
    dds_lget_sample_rejected(sut.get(), &sampleRejected);
    ASSERT_NE(sampleRejected, nullptr);
    sampleRejected(1, {5, 1, DDS_REJECTED_BY_SAMPLES_LIMIT, 78}, &recording.callback());
    EXPECT_EQ(recording.m_rejected,
              SampleRejectedStatus({5, 1}, SampleRejectedState::RejectedBySamplesLimit, InstanceHandle(78)));

    dds_on_liveliness_changed_fn livelinessChanged = nullptr;
    dds_lget_liveliness_changed(sut.get(), &livelinessChanged);
    ASSERT_NE(livelinessChanged, nullptr);
    livelinessChanged(1, {2, 1, -1, 1, 79}, &recording.callback());
    EXPECT_EQ(recording.m_liveliness, LivelinessChangedStatus(2, 1, -1, 1, InstanceHandle(79)));

    dds_on_subscription_matched_fn subscriptionMatched = nullptr;
    dds_lget_subscription_matched(sut.get(), &subscriptionMatched);
    ASSERT_NE(subscriptionMatched, nullptr);
    subscriptionMatched(1, {6, 1, 2, -1, 80}, &recording.callback());
    EXPECT_EQ(recording.m_matched, SubscriptionMatchedStatus({6, 1}, 2, -1, InstanceHandle(80)));

    dds_on_sample_lost_fn sampleLost = nullptr;
    dds_lget_sample_lost(sut.get(), &sampleLost);
    ASSERT_NE(sampleLost, nullptr);
    sampleLost(1, {9, 2}, &recording.callback());
    EXPECT_EQ(recording.m_lost, SampleLostStatus(9, 2));

    dds_on_data_available_fn dataAvailable = nullptr;
    dds_lget_data_available(sut.get(), &dataAvailable);
    ASSERT_NE(dataAvailable, nullptr);
    dataAvailable(1, &recording.callback());
    EXPECT_EQ(recording.m_dataAvailable, 1);
}

TEST(NativeListener, TakesNoCallbackForAStatusOutsideTheMask)
{
    Recording recording;
    const dds::detail::NativeListener sut(recording.callback(), StatusMask::sample_lost());

    dds_on_data_available_fn dataAvailable = nullptr;
    dds_lget_data_available(sut.get(), &dataAvailable);
    EXPECT_EQ(dataAvailable, nullptr);
    dds_on_sample_lost_fn sampleLost = nullptr;
    dds_lget_sample_lost(sut.get(), &sampleLost);
    EXPECT_NE(sampleLost, nullptr);
}

namespace
{

/// The log of the library while this lives.
class LibraryLog
{
public:
    LibraryLog()
    {
        dds_set_log_sink(
            [](void* text, const dds_log_data_t* line) { static_cast<std::string*>(text)->append(line->message); },
            &m_text);
    }
    ~LibraryLog() { dds_set_log_sink(nullptr, nullptr); }
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

} // namespace

TEST(NativeListener, WhatWasRaisedBeforeIsCalledForOnce)
{
    using Support = dds::topic::topic_type_support<com::tallowcrest::dds_::routing::MacroXptOutput>;
    constexpr dds_duration_t deadline = 10'000'000;
    const dds_entity_t participant = dds_create_participant(DDS_DOMAIN_DEFAULT, nullptr, nullptr);
    const dds_entity_t topic = dds_create_topic(participant, &Support::descriptor(), "Pending", nullptr, nullptr);
    const std::unique_ptr<dds_qos_t, decltype(&dds_delete_qos)> qos(dds_create_qos(), &dds_delete_qos);
    dds_qset_reliability(qos.get(), DDS_RELIABILITY_BEST_EFFORT, 0);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_ALL, 0);
    dds_qset_deadline(qos.get(), deadline);
    const dds_entity_t writer = dds_create_writer(participant, topic, qos.get(), nullptr);
    dds_qset_resource_limits(qos.get(), 1, DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED);
    const dds_entity_t reader = dds_create_reader(participant, topic, qos.get(), nullptr);
    ASSERT_GT(reader, 0);
    for (const std::uint32_t number : {1U, 2U}) // there is room for one
    {
        const auto sample = Support::toBus({.macroXptOutput = number});
        ASSERT_EQ(dds_write(writer, &sample), DDS_RETCODE_OK);
    }
    dds_write_flush(writer);
    ASSERT_TRUE(testsupport::waitUntil([&] {
        constexpr std::uint32_t both = DDS_REQUESTED_DEADLINE_MISSED_STATUS | DDS_SAMPLE_REJECTED_STATUS;
        std::uint32_t raised = 0;
        dds_get_status_changes(reader, &raised);
        return (raised & both) == both;
    }));
    Recording recording;

    dds::detail::callForPending(reader, recording.callback(), StatusMask::all());

    EXPECT_GE(recording.m_deadline.total_count(), 1);
    EXPECT_EQ(recording.m_rejected.total_count(), 1);
    EXPECT_EQ(recording.m_dataAvailable, 1);
    recording.m_rejected = {};
    dds::detail::callForPending(reader, recording.callback(), StatusMask::all());
    EXPECT_EQ(recording.m_rejected.total_count(), 0) << "looked at already";
    dds_delete(participant);
}

TEST(NativeListener, EachReasonOfARejectionIsToldApart)
{
    const std::vector<std::pair<dds_sample_rejected_status_kind, SampleRejectedState>> reasons{
        {DDS_NOT_REJECTED, SampleRejectedState::NotRejected},
        {DDS_REJECTED_BY_INSTANCES_LIMIT, SampleRejectedState::RejectedByInstancesLimit},
        {DDS_REJECTED_BY_SAMPLES_LIMIT, SampleRejectedState::RejectedBySamplesLimit},
        {DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT, SampleRejectedState::RejectedBySamplesPerInstanceLimit}};
    Recording recording;
    const dds::detail::NativeListener sut(recording.callback(), StatusMask::sample_rejected());
    dds_on_sample_rejected_fn sampleRejected = nullptr;
    dds_lget_sample_rejected(sut.get(), &sampleRejected);
    ASSERT_NE(sampleRejected, nullptr);

    for (const auto& [native, expected] : reasons)
    {
        sampleRejected(1, {5, 1, native, 78}, &recording.callback());

        EXPECT_EQ(recording.m_rejected, SampleRejectedStatus({5, 1}, expected, InstanceHandle(78)));
    }
}

TEST(NativeListener, AnExceptionThatIsNoStandardOneEndsInTheLibrarysLogToo)
{
    const LibraryLog log;
    Recording recording;
    recording.m_throwsNumber = true;
    const dds::detail::NativeListener sut(recording.callback(), StatusMask::data_available());
    dds_on_data_available_fn dataAvailable = nullptr;
    dds_lget_data_available(sut.get(), &dataAvailable);

    EXPECT_NO_THROW(dataAvailable(1, &recording.callback()));

    EXPECT_NE(log.text().find("a reader's listener threw: no standard exception"), std::string::npos) << log.text();
}

TEST(NativeListener, AnExceptionEndsInTheLibrarysLog)
{
    const LibraryLog log;
    Recording recording;
    recording.m_throws = true;
    const dds::detail::NativeListener sut(recording.callback(), StatusMask::data_available());
    dds_on_data_available_fn dataAvailable = nullptr;
    dds_lget_data_available(sut.get(), &dataAvailable);

    EXPECT_NO_THROW(dataAvailable(1, &recording.callback()));

    EXPECT_EQ(recording.m_dataAvailable, 1);
    EXPECT_NE(log.text().find("a reader's listener threw: the listener failed"), std::string::npos) << log.text();
}

TEST(NativeListener, AnExceptionOfAWritersListenerEndsInTheLibrarysLogToo)
{
    const LibraryLog log;
    dds::detail::WriterCallback callback = [](const PublicationMatchedStatus&) {
        throw std::runtime_error("the listener failed");
    };
    const dds::detail::NativeListener sut(callback, StatusMask::publication_matched());
    dds_on_publication_matched_fn publicationMatched = nullptr;
    dds_lget_publication_matched(sut.get(), &publicationMatched);
    ASSERT_NE(publicationMatched, nullptr);

    EXPECT_NO_THROW(publicationMatched(1, {}, &callback));

    EXPECT_NE(log.text().find("a writer's listener threw: the listener failed"), std::string::npos) << log.text();
}
