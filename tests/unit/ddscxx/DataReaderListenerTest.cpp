#include "tests/unit/ddscxx/BusFixture.h"

#include <atomic>
#include <thread>

using dds::core::status::StatusMask;
using namespace dds::core::policy;

namespace
{

using Output = com::tallowcrest::dds_::routing::MacroXptOutput;

/// Counts its calls and keeps the last status of each.
class CountingListener final : public dds::sub::NoOpDataReaderListener<Output>
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

    std::atomic<int> m_dataAvailable{0};
    std::atomic<int> m_taken{0};
    std::atomic<int> m_matched{-1};
    std::atomic<int> m_alive{-1};
    std::atomic<int> m_policyId{-1};
};

/// Stays in its callback until it has seen `m_readerGone`, or 200 ms.
class LingeringListener final : public dds::sub::NoOpDataReaderListener<Output>
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
    Topic m_topic = makeTopic(m_participant);
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
    weaker << Durability::Volatile();

    dds::pub::DataWriter<Output> writer(dds::pub::Publisher(m_wire.participant()), m_wireTopic, weaker);

    EXPECT_TRUE(testsupport::waitUntil([&] { return sut.m_policyId == DDS_DURABILITY_QOS_POLICY_ID; }));
    reader.listener(nullptr, StatusMask::none());
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
