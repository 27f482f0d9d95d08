#include "tests/unit/ddscxx/BusFixture.h"

#include <set>

using com::tallowcrest::dds_::routing::ComponentInfo;

class DataReaderTest : public BusFixture
{
protected:
    Topic m_topic = makeTopic(m_participant);
    Writer m_wireWriter = makeWriter(makeTopic(m_wire.participant()));
};

TEST_F(DataReaderTest, TakesNothingWhenThereIsNothing)
{
    Reader sut = makeReader(m_topic);

    EXPECT_EQ(sut.take().length(), 0U);
    EXPECT_EQ(sut.read().length(), 0U);
}

TEST_F(DataReaderTest, OneTakeGetsMoreSamplesThanOneLoanHolds)
{
    constexpr std::uint32_t count = 1000;
    Reader sut = makeReader(m_topic);
    Writer local = makeWriter(m_topic);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        local.write(output(i, i + 1));
    }

    const auto samples = sut.take();

    ASSERT_EQ(samples.length(), count);
    std::set<std::uint32_t> outputs;
    for (const auto& sample : samples)
    {
        outputs.insert(sample.data().macroXptOutput);
        EXPECT_EQ(sample.data().macroXptInput, sample.data().macroXptOutput + 1);
    }
    EXPECT_EQ(outputs.size(), count);
    EXPECT_EQ(sut.take().length(), 0U);
}

TEST_F(DataReaderTest, OneTakeGetsExactlyAsManySamplesAsOneLoanHolds)
{
    constexpr std::uint32_t count = 128;
    Reader sut = makeReader(m_topic);
    Writer local = makeWriter(m_topic);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        local.write(output(i));
    }

    EXPECT_EQ(sut.take().length(), count);
}

TEST_F(DataReaderTest, ReadLeavesTheSamplesWhereTheyAre)
{
    constexpr std::uint32_t count = 300;
    Reader sut = makeReader(m_topic);
    Writer local = makeWriter(m_topic);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        local.write(output(i));
    }

    EXPECT_EQ(sut.read().length(), count);
    EXPECT_EQ(sut.read().length(), count);
    EXPECT_EQ(sut.take().length(), count);
}

TEST_F(DataReaderTest, LateReaderGetsWhatALivingWriterHolds)
{
    m_wireWriter.write(output(1, 2));

    Reader sut = makeReader(m_topic);

    const auto samples = takeSamples(sut, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptInput, 2U);
}

TEST_F(DataReaderTest, InvalidSampleCarriesBothKeyFieldsOfAComponent)
{
    const dds::topic::Topic<ComponentInfo> topic(m_participant, "TopicComponent", transientLocal());
    const dds::topic::Topic<ComponentInfo> wireTopic(m_wire.participant(), "TopicComponent", transientLocal());
    dds::sub::DataReader<ComponentInfo> sut(dds::sub::Subscriber(m_participant), topic, topic.qos());
    dds::pub::DataWriter<ComponentInfo> writer(dds::pub::Publisher(m_wire.participant()), wireTopic, wireTopic.qos());
    const ComponentInfo info{3, 4, "name", "description"};
    writer.write(info);
    ASSERT_TRUE(testsupport::waitUntil([&] { return sut.take().length() == 1; }));

    writer.dispose_instance(writer.register_instance(info));

    dds::sub::LoanedSamples<ComponentInfo> samples;
    ASSERT_TRUE(testsupport::waitUntil([&] {
        samples = sut.take();
        return samples.length() == 1;
    }));
    EXPECT_FALSE(samples[0].info().valid());
    EXPECT_EQ(samples[0].data().frameId, 3U);
    EXPECT_EQ(samples[0].data().componentId, 4U);
    EXPECT_EQ(samples[0].data().name, "");
}

TEST_F(DataReaderTest, KnowsTheWritersItIsMatchedWith)
{
    Reader sut = makeReader(m_topic);

    EXPECT_TRUE(testsupport::waitUntil([&] { return sut.subscription_matched_status().current_count() == 1; }));
}

TEST_F(DataReaderTest, LivesAsLongAsItsHandleWhateverHappensToWhatItWasMadeFrom)
{
    Reader sut(dds::core::null);
    {
        const dds::domain::DomainParticipant participant(dds::domain::default_id());
        sut = makeReader(makeTopic(participant));
    }

    m_wireWriter.write(output(1));

    EXPECT_EQ(takeSamples(sut, 1).size(), 1U);
}

TEST_F(DataReaderTest, SelectionOfSoManySamplesTakesNoMoreAndLeavesTheRest)
{
    Reader sut = makeReader(m_topic);
    Writer local = makeWriter(m_topic);
    for (std::uint32_t i = 0; i < 300; ++i)
    {
        local.write(output(i));
    }

    EXPECT_EQ(sut.select().max_samples(200).take().length(), 200U);
    EXPECT_EQ(sut.select().max_samples(0).take().length(), 0U);
    EXPECT_EQ(sut.select().max_samples(200).take().length(), 100U);
}
