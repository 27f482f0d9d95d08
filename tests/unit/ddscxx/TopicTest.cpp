#include "tests/unit/ddscxx/BusFixture.h"

#include <stdexcept>

using namespace dds::core::policy;

class TopicTest : public BusFixture
{};

TEST_F(TopicTest, KnowsItsQosAndItsParticipant)
{
    const Topic sut = makeTopic(m_participant);

    EXPECT_EQ(sut.qos(), transientLocal());
    EXPECT_EQ(sut.participant(), m_participant);
}

TEST_F(TopicTest, CanBeMadeAgainWithTheSameQos)
{
    const Topic first = makeTopic(m_participant);

    const Topic sut = makeTopic(m_participant);

    EXPECT_NE(sut, first);
    EXPECT_EQ(sut.qos(), first.qos());
    // What one of them writes reaches a reader of the other.
    Reader reader = makeReader(sut);
    makeWriter(first).write(output(7));
    EXPECT_TRUE(testsupport::waitUntil([&] { return reader.take().length() == 1; }));
}

TEST_F(TopicTest, CannotBeMadeAgainWithAnotherQosAndTheTextSaysSo)
{
    const Topic first = makeTopic(m_participant);
    auto qos = transientLocal();
    qos << Durability::Persistent();

    try
    {
        makeTopic(m_participant, qos);
        FAIL() << "nothing was thrown";
    }
    catch (const dds::core::InconsistentPolicyError& error)
    {
        EXPECT_STREQ(error.what(),
                     "creating topic \"TopicUnderTest\" of type com::tallowcrest::dds_::routing::MacroXptOutput: "
                     "Inconsistent Policy (the participant already has this topic with another QoS)");
    }
}

TEST_F(TopicTest, CanBeMadeWithAnotherQosOnceTheFirstIsGone)
{
    {
        const Topic first = makeTopic(m_participant);
    }
    auto qos = transientLocal();
    qos << Durability::Persistent();

    EXPECT_EQ(makeTopic(m_participant, qos).qos(), qos);
}

TEST_F(TopicTest, LivesAsLongAsAReaderOfIt)
{
    const Reader reader = makeReader(makeTopic(m_participant));
    auto qos = transientLocal();
    qos << Durability::Persistent();

    EXPECT_THROW(makeTopic(m_participant, qos), dds::core::InconsistentPolicyError);
}

TEST_F(TopicTest, NameThatIsEmptyIsRefused)
{
    EXPECT_THROW(Topic(m_participant, "", transientLocal()), dds::core::Error);
}

TEST_F(TopicTest, ReadersOfAFilteredOneNeverSeeWhatTheFilterRefuses)
{
    const Topic sut(m_participant, topicName, transientLocal(),
                    [](const Output& sample) { return sample.macroXptOutput <= 5; });
    Reader reader = makeReader(sut);
    Reader unfiltered = makeReader(makeTopic(m_participant));
    Writer writer = makeWriter(makeTopic(m_wire.participant()));
    ASSERT_TRUE(waitForReaders(writer, 2));

    writer.write(output(6, 1));
    writer.write(output(5, 2));

    ASSERT_EQ(takeSamples(unfiltered, 2).size(), 2U) << "each reader has its own topic";
    const auto samples = takeSamples(reader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptOutput, 5U);
    EXPECT_EQ(samples[0].data().macroXptInput, 2U);
}

TEST_F(TopicTest, WhatAFilterCannotJudgeIsRefused)
{
    const Topic sut(m_participant, topicName, transientLocal(), [](const Output& sample) {
        return sample.macroXptOutput == 2 ? true : throw std::runtime_error("no memory");
    });
    Reader reader = makeReader(sut);
    Writer writer = makeWriter(makeTopic(m_wire.participant()));
    ASSERT_TRUE(waitForReaders(writer, 1));

    writer.write(output(1));
    writer.write(output(2));

    const auto samples = takeSamples(reader, 1);
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0].data().macroXptOutput, 2U);
}
