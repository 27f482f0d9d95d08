#include "dds/core/EntityQos.hpp"
#include "dds/detail/NativeQos.hpp"

#include <gtest/gtest.h>

using namespace dds::core::policy;
using dds::core::Duration;
using dds::topic::qos::TopicQos;

namespace
{

TopicQos unusualTopicQos()
{
    TopicQos qos;
    qos << Durability::Persistent() << Reliability::Reliable(Duration::from_millisecs(250));
    return qos;
}

} // namespace

TEST(TopicQos, DefaultsAreThoseOfTheStandard)
{
    const TopicQos sut;

    EXPECT_EQ(sut.policy<Durability>().kind(), DurabilityKind::VOLATILE);
    EXPECT_EQ(sut.policy<Reliability>().kind(), ReliabilityKind::BEST_EFFORT);
}

TEST(TopicQos, GivesBackEachPolicyThatWasPutIn)
{
    const TopicQos sut = unusualTopicQos();

    EXPECT_EQ(sut.policy<Durability>().kind(), DurabilityKind::PERSISTENT);
    EXPECT_EQ(sut.policy<Reliability>().max_blocking_time(), Duration::from_millisecs(250));
}

TEST(DataReaderQos, MadeFromATopicsQosCarriesAllItsPolicies)
{
    const dds::sub::qos::DataReaderQos sut = unusualTopicQos();

    EXPECT_EQ(sut.policy<Durability>(), unusualTopicQos().policy<Durability>());
    EXPECT_EQ(sut.policy<Reliability>(), unusualTopicQos().policy<Reliability>());
}

TEST(DataWriterQos, MadeFromATopicsQosCarriesItsPoliciesAndAutodisposes)
{
    const dds::pub::qos::DataWriterQos sut = unusualTopicQos();

    EXPECT_EQ(sut.policy<Durability>(), Durability::Persistent());
    EXPECT_EQ(sut.policy<Reliability>(), Reliability::Reliable(Duration::from_millisecs(250)));
    EXPECT_TRUE(sut.policy<WriterDataLifecycle>().autodispose_unregistered_instances());
}

TEST(DataWriterQos, DefaultIsReliable)
{
    EXPECT_EQ(dds::pub::qos::DataWriterQos().policy<Reliability>(), Reliability::Reliable());
}

TEST(NativeQos, SetsEveryPolicyOfATopic)
{
    const dds::detail::NativeQos sut(unusualTopicQos());

    dds_durability_kind_t durability = DDS_DURABILITY_VOLATILE;
    EXPECT_TRUE(dds_qget_durability(sut.get(), &durability));
    EXPECT_EQ(durability, DDS_DURABILITY_PERSISTENT);
    dds_reliability_kind_t reliability = DDS_RELIABILITY_BEST_EFFORT;
    dds_duration_t maxBlockingTime = 0;
    EXPECT_TRUE(dds_qget_reliability(sut.get(), &reliability, &maxBlockingTime));
    EXPECT_EQ(reliability, DDS_RELIABILITY_RELIABLE);
    EXPECT_EQ(maxBlockingTime, DDS_MSECS(250));
}

TEST(NativeQos, SetsTheWritersLifecycle)
{
    dds::pub::qos::DataWriterQos qos;
    qos << WriterDataLifecycle::ManuallyDisposeUnregisteredInstances();
    const dds::detail::NativeQos sut(qos);

    bool autodispose = true;
    EXPECT_TRUE(dds_qget_writer_data_lifecycle(sut.get(), &autodispose));
    EXPECT_FALSE(autodispose);
}

TEST(NativeQos, SetsTheHistoryOfReadersAndWriters)
{
    dds::sub::qos::DataReaderQos all;
    all << History::KeepAll();
    dds::pub::qos::DataWriterQos some;
    some << History::KeepLast(7);

    dds_history_kind_t kind = DDS_HISTORY_KEEP_LAST;
    std::int32_t depth = 0;
    EXPECT_TRUE(dds_qget_history(dds::detail::NativeQos(all).get(), &kind, &depth));
    EXPECT_EQ(kind, DDS_HISTORY_KEEP_ALL);
    EXPECT_TRUE(dds_qget_history(dds::detail::NativeQos(some).get(), &kind, &depth));
    EXPECT_EQ(kind, DDS_HISTORY_KEEP_LAST);
    EXPECT_EQ(depth, 7);
    EXPECT_TRUE(dds_qget_history(dds::detail::NativeQos(dds::sub::qos::DataReaderQos()).get(), &kind, &depth));
    EXPECT_EQ(kind, DDS_HISTORY_KEEP_LAST);
    EXPECT_EQ(depth, 1);
}

TEST(NativeQos, SetsThePartitionNamesInTheirOrder)
{
    dds::sub::qos::SubscriberQos qos;
    qos << Partition(std::vector<std::string>{"one", "two"});
    const dds::detail::NativeQos sut(qos);

    std::uint32_t count = 0;
    char** names = nullptr;
    ASSERT_TRUE(dds_qget_partition(sut.get(), &count, &names));
    ASSERT_EQ(count, 2U);
    EXPECT_STREQ(names[0], "one");
    EXPECT_STREQ(names[1], "two");
    dds_free(names[0]);
    dds_free(names[1]);
    dds_free(names);
}
