#include "tests/unit/ddscxx/BusFixture.h"

#include <atomic>
#include <thread>

using dds::core::status::StatusMask;
using namespace dds::core::policy;

namespace
{

using Output = com::tallowcrest::dds_::routing::MacroXptOutput;

using IdleListener = dds::sub::NoOpDataReaderListener<Output>;

/// Counts its calls and keeps the last status of each.
class CountingListener final : public dds::sub::DataReaderListener<Output>
{
public:
    using Reader = dds::sub::DataReader<Output>;

    void on_data_available(Reader& reader) override
    {
        m_taken += static_cast<int>(reader.take().length());
        ++m_dataAvailable;
    }
    void on_subscription_matched(Reader&, const dds::core::status::SubscriptionMatchedStatus& status) override
    {
        m_matched = status.current_count();
    }
    void on_liveliness_changed(Reader&, const dds::core::status::LivelinessChangedStatus& status) override
    {
        m_alive = status.alive_count();
    }
    void on_requested_incompatible_qos(Reader&,
                                       const dds::core::status::RequestedIncompatibleQosStatus& status) override
    {
        m_policyId = static_cast<int>(status.last_policy_id());
    }
    void on_requested_deadline_missed(Reader&, const dds::core::status::RequestedDeadlineMissedStatus& status) override
    {
        m_deadlinesMissed = status.total_count();
    }
    void on_sample_rejected(Reader&, const dds::core::status::SampleRejectedStatus& status) override
    {
        m_rejected = status.total_count();
    }
    void on_sample_lost(Reader&, const dds::core::status::SampleLostStatus& status) override
    {
        m_lost = status.total_count();
    }

    std::atomic<int> m_dataAvailable{0};
    std::atomic<int> m_taken{0};
    std::atomic<int> m_matched{-1};
    std::atomic<int> m_alive{-1};
    std::atomic<int> m_policyId{-1};
    int m_deadlinesMissed = -1;
    int m_rejected = -1;
    int m_lost = -1;
};

/// Calls the listener of a reader as the DDS library does, with statuses that no QoS of this interface brings about.
class LibraryCalls
{
public:
    /// The listener of the subscriber's one reader.
    explicit LibraryCalls(const dds::sub::Subscriber& subscriber) : m_listener(dds_create_listener(nullptr))
    {
        EXPECT_EQ(dds_get_children(subscriber.delegate()->handle(), &m_reader, 1), 1);
        EXPECT_EQ(dds_get_listener(m_reader, m_listener), DDS_RETCODE_OK);
    }
    ~LibraryCalls() { dds_delete_listener(m_listener); }
    LibraryCalls(const LibraryCalls&) = delete;
    LibraryCalls& operator=(const LibraryCalls&) = delete;

    void deadlineMissed(std::uint32_t count) const
    {
        call(dds_lget_requested_deadline_missed_arg, dds_requested_deadline_missed_status_t{count, 1, 77});
    }
    void incompatibleQos(std::uint32_t policy) const
    {
        call(dds_lget_requested_incompatible_qos_arg, dds_requested_incompatible_qos_status_t{1, 1, policy});
    }
    void sampleRejected(std::uint32_t count) const
    {
        call(dds_lget_sample_rejected_arg, dds_sample_rejected_status_t{count, 1, DDS_REJECTED_BY_SAMPLES_LIMIT, 78});
    }
    void sampleLost(std::uint32_t count) const { call(dds_lget_sample_lost_arg, dds_sample_lost_status_t{count, 1}); }
    void livelinessChanged() const
    {
        call(dds_lget_liveliness_changed_arg, dds_liveliness_changed_status_t{1, 0, 1, 0, 79});
    }
    void matched() const { call(dds_lget_subscription_matched_arg, dds_subscription_matched_status_t{1, 1, 1, 1, 80}); }
    void dataAvailable() const
    {
        dds_on_data_available_fn callback = nullptr;
        void* argument = nullptr;
        EXPECT_EQ(dds_lget_data_available_arg(m_listener, &callback, &argument, nullptr), DDS_RETCODE_OK);
        callback(m_reader, argument);
    }

private:
    template <typename Callback, typename Status>
    void call(dds_return_t (*get)(const dds_listener_t*, Callback*, void**, bool*), const Status& status) const
    {
        Callback callback = nullptr;
        void* argument = nullptr;
        EXPECT_EQ(get(m_listener, &callback, &argument, nullptr), DDS_RETCODE_OK);
        callback(m_reader, status, argument);
    }

    dds_listener_t* m_listener;
    dds_entity_t m_reader = 0;
};

/// Stays in its callback until it has seen `m_readerGone`, or 200 ms.
class LingeringListener final : public IdleListener
{
public:
    void on_data_available(dds::sub::DataReader<Output>&) override
    {
        m_entered = true;
        m_outlivedReader =
            testsupport::waitUntil([this] { return m_readerGone.load(); }, std::chrono::milliseconds(200));
        m_left = true;
    }

    std::atomic<bool> m_entered{false};
    std::atomic<bool> m_left{false};
    std::atomic<bool> m_readerGone{false};
    std::atomic<bool> m_outlivedReader{false};
};

} // namespace

class DataReaderListenerTest : public BusFixture
{
protected:
    Reader makeOnlyReader() const { return {m_subscriber, m_topic, m_topic.qos()}; }

    Topic m_topic = makeTopic(m_participant);
    dds::sub::Subscriber m_subscriber{m_participant};
    Topic m_wireTopic = makeTopic(m_wire.participant());
};

TEST_F(DataReaderListenerTest, IsCalledForDataMatchesAndLiveliness)
{
    CountingListener sut;
    Reader reader = makeReader(m_topic);
    reader.listener(&sut, StatusMask::data_available() | StatusMask::subscription_matched() |
                              StatusMask::liveliness_changed());

    {
        Writer writer = makeWriter(m_wireTopic);
        writer.write(output(1));

        EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_taken == 1; }));
        EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_matched == 1; }));
        EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_alive == 1; }));
    }

    EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_matched == 0; }));
    EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_alive == 0; }));
    reader.listener(nullptr, StatusMask::none());
}

TEST_F(DataReaderListenerTest, IsToldThePolicyThatAWriterDoesNotOffer)
{
    CountingListener sut;
    Reader reader = makeReader(m_topic);
    reader.listener(&sut, StatusMask::requested_incompatible_qos());
    auto weaker = transientLocal();
    weaker << Durability(DurabilityKind::VOLATILE);

    dds::pub::DataWriter<Output> writer(dds::pub::Publisher(m_wire.participant()), m_wireTopic, weaker);

    EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_policyId == DDS_DURABILITY_QOS_POLICY_ID; }));
    reader.listener(nullptr, StatusMask::none());
}

TEST_F(DataReaderListenerTest, IsCalledForDeadlinesAndForSamplesRejectedAndLost)
{
    CountingListener sut;
    Reader reader = makeOnlyReader();
    reader.listener(&sut, StatusMask::all());
    const LibraryCalls library(m_subscriber);

    library.deadlineMissed(3);
    library.sampleRejected(4);
    library.sampleLost(5);

    EXPECT_EQ(sut.m_deadlinesMissed, 3);
    EXPECT_EQ(sut.m_rejected, 4);
    EXPECT_EQ(sut.m_lost, 5);
    reader.listener(nullptr, StatusMask::none());
}

TEST_F(DataReaderListenerTest, OneThatDoesNothingLeavesEverythingToTheReader)
{
    IdleListener sut;
    Reader reader = makeOnlyReader();
    makeWriter(m_topic).write(output(1));
    reader.listener(&sut, StatusMask::all());
    const LibraryCalls library(m_subscriber);

    library.deadlineMissed(1);
    library.incompatibleQos(DDS_DURABILITY_QOS_POLICY_ID);
    library.sampleRejected(1);
    library.livelinessChanged();
    library.dataAvailable();
    library.matched();
    library.sampleLost(1);

    reader.listener(nullptr, StatusMask::none());
    EXPECT_GE(reader.take().length(), 1U) << "the sample is still there";
}

TEST_F(DataReaderListenerTest, IsCalledForWhatHappenedBeforeItWasAttached)
{
    CountingListener sut;
    Reader reader = makeReader(m_topic);
    Writer local = makeWriter(m_topic);
    local.write(output(1));

    reader.listener(&sut, StatusMask::data_available() | StatusMask::subscription_matched());

    EXPECT_EQ(sut.m_taken, 1);
    EXPECT_EQ(sut.m_matched, 1);
    EXPECT_EQ(sut.m_alive, -1) << "not in the mask";
    reader.listener(nullptr, StatusMask::none());
}

TEST_F(DataReaderListenerTest, IsCalledOnTheThreadOfALocalWriter)
{
    CountingListener sut;
    Reader reader = makeReader(m_topic);
    reader.listener(&sut, StatusMask::data_available());
    Writer local = makeWriter(m_topic);

    local.write(output(1));
    EXPECT_EQ(sut.m_dataAvailable, 1) << "before write returns";

    local.write(output(2));
    EXPECT_EQ(sut.m_dataAvailable, 2);
    reader.listener(nullptr, StatusMask::none());
}

TEST_F(DataReaderListenerTest, IsNotCalledOnceDetached)
{
    CountingListener sut;
    Reader reader = makeReader(m_topic);
    reader.listener(&sut, StatusMask::data_available());
    Writer local = makeWriter(m_topic);
    local.write(output(1));

    reader.listener(nullptr, StatusMask::none());
    local.write(output(2));

    EXPECT_EQ(sut.m_dataAvailable, 1);
    EXPECT_EQ(reader.take().length(), 1U);
}

TEST_F(DataReaderListenerTest, IsReplacedByTheNextOne)
{
    CountingListener first;
    CountingListener sut;
    Reader reader = makeReader(m_topic);
    reader.listener(&first, StatusMask::data_available());
    reader.listener(&sut, StatusMask::data_available());

    makeWriter(m_topic).write(output(1));

    EXPECT_EQ(first.m_dataAvailable, 0);
    EXPECT_GE(sut.m_dataAvailable, 1);
    reader.listener(nullptr, StatusMask::none());
}

TEST_F(DataReaderListenerTest, DeletingTheReaderWaitsForACallbackThatRuns)
{
    LingeringListener sut;
    Reader reader = makeReader(m_topic);
    reader.listener(&sut, StatusMask::data_available());
    std::thread writing([this] { makeWriter(m_topic).write(output(1)); });
    ASSERT_TRUE(testsupport::waitUntil([&] { return sut.m_entered.load(); }));

    reader = Reader(dds::core::null);
    const bool leftInTime = sut.m_left;
    sut.m_readerGone = true;
    writing.join();

    EXPECT_TRUE(leftInTime);
    EXPECT_FALSE(sut.m_outlivedReader);
}

TEST_F(DataReaderListenerTest, ReadersCanBeDeletedWhileAWriterWrites)
{
    std::atomic<bool> stop{false};
    std::thread writing([&] {
        Writer writer = makeWriter(m_wireTopic);
        for (std::uint32_t i = 0; !stop; ++i)
        {
            writer.write(output(i % 64, i));
        }
    });

    for (int round = 0; round < 50; ++round)
    {
        CountingListener sut;
        Reader reader = makeReader(m_topic);
        reader.listener(&sut, StatusMask::data_available());
        EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_taken > 0; }));
        reader = Reader(dds::core::null);
    }

    stop = true;
    writing.join();
}
