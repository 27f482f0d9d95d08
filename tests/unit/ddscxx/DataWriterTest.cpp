#include "tests/unit/ddscxx/BusFixture.h"

using namespace dds::core::policy;

class DataWriterTest : public BusFixture
{
protected:
    Topic m_topic = makeTopic(m_participant);
    Reader m_wireReader = makeReader(makeTopic(m_wire.participant()));
};

TEST_F(DataWriterTest, SampleCrossesTheWireWithAllItsFields)
{
    Writer sut = makeWriter(m_topic);

    sut.write({1, 4294967295, 3, 4, com::tallowcrest::dds_::routing::LPR_LOCKED});

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_TRUE(samples[0].info().valid());
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::Alive);
    EXPECT_EQ(samples[0].data().macroXptOutput, 1U);
    EXPECT_EQ(samples[0].data().macroXptInput, 4294967295U);
    EXPECT_EQ(samples[0].data().when, 3U);
    EXPECT_EQ(samples[0].data().lprId, 4U);
    EXPECT_EQ(samples[0].data().lprState, com::tallowcrest::dds_::routing::LPR_LOCKED);
}

TEST_F(DataWriterTest, SampleCarriesTheSourceTimestampThatItWasWrittenWith)
{
    Writer sut = makeWriter(m_topic);

    sut.write(output(1), dds::core::Time(1'600'000'000'000'000'000));

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_NEAR(static_cast<double>(samples[0].info().timestamp().to_nanoseconds()), 1.6e18, 1000.0);
}

TEST_F(DataWriterTest, TimestampThatTheLibraryRefusesIsAnError)
{
    Writer sut = makeWriter(m_topic);

    EXPECT_THROW(sut.write(output(1), dds::core::Time(-1)), dds::core::Error);
}

TEST_F(DataWriterTest, OfATimestampAfter2038TheWireCarriesTheLow32BitsOfTheSeconds)
{
    constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
    constexpr dds::core::Time after2038(2'208'988'800 * nanosecondsPerSecond); // the begin of 2040
    Writer sut = makeWriter(m_topic);
    Reader local = makeReader(m_topic);
    ASSERT_TRUE(waitForReaders(sut, 2));

    sut.write(output(1), after2038);

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].info().timestamp().to_nanoseconds() / nanosecondsPerSecond,
              2'208'988'800 - (INT64_C(1) << 32));
    const auto locals = takeSamples(local, 1);
    ASSERT_EQ(locals.size(), 1U);
    EXPECT_EQ(locals[0].info().timestamp(), after2038);
}

TEST_F(DataWriterTest, AnEnumeratorThatNobodyKnowsIsDroppedByTheReadersOnTheWireAndHoldsNothingUp)
{
    Writer sut = makeWriter(m_topic);
    Reader local = makeReader(m_topic);
    Output odd = output(1);
    odd.lprState = static_cast<com::tallowcrest::dds_::routing::LPRState>(77);
    ASSERT_TRUE(waitForReaders(sut, 2));

    sut.write(odd);
    sut.write(output(2));

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptOutput, 2U);
    const auto locals = takeSamples(local, 2);
    ASSERT_EQ(locals.size(), 2U);
    EXPECT_EQ(static_cast<std::uint32_t>(locals[0].data().lprState), 77U);
}

TEST_F(DataWriterTest, LaterSampleOfAnInstanceReplacesTheEarlierOneForALateReader)
{
    Writer sut = makeWriter(m_topic);
    sut.write(output(1, 10));
    sut.write(output(1, 11));
    sut.write(output(2, 20));

    Reader late = makeReader(makeTopic(m_wire.participant()));
    const auto samples = takeSamples(late, 2);

    ASSERT_EQ(samples.size(), 2U);
    EXPECT_EQ(samples[0].data().macroXptInput, 11U);
    EXPECT_EQ(samples[1].data().macroXptInput, 20U);
}

TEST_F(DataWriterTest, DisposedInstanceArrivesAsAnInvalidSampleWithItsKey)
{
    Writer sut = makeWriter(m_topic);
    sut.write(output(5, 50));
    ASSERT_EQ(takeSamples(m_wireReader, 1).size(), 1U);

    sut.dispose_instance(sut.register_instance(output(5)));

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_FALSE(samples[0].info().valid());
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveDisposed);
    EXPECT_EQ(samples[0].data().macroXptOutput, 5U);
    EXPECT_EQ(samples[0].data().macroXptInput, 0U);
}

TEST_F(DataWriterTest, UnregisteredInstanceLosesItsWriterAndIsNotDisposed)
{
    Writer sut = makeWriter(m_topic);
    sut.write(output(6, 60));
    ASSERT_EQ(takeSamples(m_wireReader, 1).size(), 1U);

    sut.unregister_instance(sut.lookup_instance(output(6)));

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_FALSE(samples[0].info().valid());
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
    EXPECT_EQ(samples[0].data().macroXptOutput, 6U);
}

TEST_F(DataWriterTest, UnregisteredInstanceIsDisposedWhenTheLifecycleSaysSo)
{
    dds::pub::qos::DataWriterQos qos = m_topic.qos();
    ASSERT_TRUE(qos.policy<WriterDataLifecycle>().autodispose_unregistered_instances());
    Writer sut(dds::pub::Publisher(m_participant), m_topic, qos);
    sut.write(output(6, 60));
    ASSERT_EQ(takeSamples(m_wireReader, 1).size(), 1U);

    sut.unregister_instance(sut.lookup_instance(output(6)));

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveDisposed);
}

TEST_F(DataWriterTest, DroppingTheLastHandleTakesTheWriterOffTheBus)
{
    {
        Writer sut = makeWriter(m_topic);
        sut.write(output(7, 70));
        ASSERT_EQ(takeSamples(m_wireReader, 1).size(), 1U);
    }

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
    EXPECT_EQ(samples[0].data().macroXptOutput, 7U);
}

TEST_F(DataWriterTest, LivesWhileACopyOfItsHandleLives)
{
    Writer copy(dds::core::null);
    {
        const Writer sut = makeWriter(m_topic);
        copy = sut;
    }

    copy.write(output(8));

    EXPECT_EQ(takeSamples(m_wireReader, 1).size(), 1U);
}

TEST_F(DataWriterTest, LookupOfAnUnknownInstanceGivesNil)
{
    Writer sut = makeWriter(m_topic);

    EXPECT_TRUE(sut.lookup_instance(output(4711)).is_nil());
    EXPECT_FALSE(sut.register_instance(output(4711)).is_nil());
    EXPECT_FALSE(sut.lookup_instance(output(4711)).is_nil());
}

TEST_F(DataWriterTest, UnknownHandleIsRefusedWithTheCallAndTheTopic)
{
    Writer sut = makeWriter(m_topic);

    try
    {
        sut.unregister_instance(dds::core::InstanceHandle(4711));
        FAIL() << "nothing was thrown";
    }
    catch (const dds::core::Error& error)
    {
        EXPECT_STREQ(error.what(), "unregistering an instance of topic \"TopicUnderTest\": Precondition Not Met");
    }
}

TEST_F(DataWriterTest, PersistentKindIsOfferedOnTheWireAndMatchesAPersistentReader)
{
    auto qos = transientLocal();
    qos << Durability::Persistent();
    const Topic persistentTopic(m_participant, "TopicPersistent", qos);
    Writer sut = makeWriter(persistentTopic);

    const auto announced = m_wire.discoveredWriter("TopicPersistent");
    ASSERT_TRUE(announced);
    EXPECT_EQ(announced->durability(), DDS_DURABILITY_PERSISTENT);

    const Topic wireTopic(m_wire.participant(), "TopicPersistent", qos);
    Reader wireReader = makeReader(wireTopic);
    EXPECT_TRUE(waitForReaders(sut, 1));
    sut.write(output(1, 2));
    EXPECT_EQ(takeSamples(wireReader, 1).size(), 1U);
}

TEST_F(DataWriterTest, CountsTheReadersItIsMatchedWith)
{
    Writer sut = makeWriter(m_topic);
    EXPECT_TRUE(waitForReaders(sut, 1));

    m_wireReader = Reader(dds::core::null);

    EXPECT_TRUE(waitForReaders(sut, 0));
}

TEST_F(DataWriterTest, InAnotherPartitionNobodyHearsIt)
{
    dds::pub::qos::PublisherQos elsewhere;
    elsewhere << Partition("elsewhere");
    Writer far(dds::pub::Publisher(m_participant, elsewhere), m_topic, m_topic.qos());
    Writer near = makeWriter(m_topic);

    far.write(output(1));
    near.write(output(2));

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptOutput, 2U);
    EXPECT_EQ(far.publication_matched_status().current_count(), 0);
}
