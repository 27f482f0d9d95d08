#include "tests/unit/ddscxx/BusFixture.h"

#include <algorithm>
#include <set>

using dds::topic::BuiltinTopicKey;
using dds::topic::ParticipantBuiltinTopicData;
using dds::topic::PublicationBuiltinTopicData;
using testsupport::waitUntil;

namespace
{

/// What one stack learns of the other.
class DiscoveryTest : public BusFixture
{
protected:
    using Participants = dds::sub::BuiltinReader<ParticipantBuiltinTopicData>;

    /// Adds to `keys` who is found.
    static void take(Participants& sut, std::set<BuiltinTopicKey>& keys)
    {
        for (const auto& sample : sut.take())
        {
            if (sample.info().valid())
            {
                keys.insert(sample.data().key);
            }
        }
    }
    /// Waits for the participant that a valid sample of `TopicUnderTest` was written by, as its reader tells.
    static bool waitForWriter(dds::sub::BuiltinReader<PublicationBuiltinTopicData>& sut, const BuiltinTopicKey& writer)
    {
        return waitUntil([&] {
            const auto samples = sut.take();
            return std::any_of(samples.begin(), samples.end(), [&](const auto& sample) {
                return sample.info().valid() && sample.data().topicName == topicName &&
                       sample.data().participant == writer;
            });
        });
    }
};

} // namespace

TEST_F(DiscoveryTest, ParticipantsHaveAKeyEach)
{
    const dds::domain::DomainParticipant copy = m_participant;

    EXPECT_EQ(copy.key(), m_participant.key());
    EXPECT_NE(m_wire.participant().key(), m_participant.key());
}

TEST_F(DiscoveryTest, ParticipantsOfBothStacksAreFoundByTheirKeys)
{
    Participants sut(m_participant);
    std::set<BuiltinTopicKey> found;

    EXPECT_TRUE(waitUntil([&] {
        take(sut, found);
        return found.size() >= 2;
    }));
    EXPECT_EQ(found, (std::set{m_participant.key(), m_wire.participant().key()}));
}

TEST_F(DiscoveryTest, ManyParticipantsAreFoundInOneTake)
{
    constexpr std::size_t many = 40;
    std::vector<dds::domain::DomainParticipant> others;
    std::set<BuiltinTopicKey> expected{m_participant.key()};
    for (std::size_t i = 0; i < many; ++i)
    {
        expected.insert(others.emplace_back(dds::domain::default_id()).key());
    }
    std::set<BuiltinTopicKey> found;

    Participants sut(m_participant);
    take(sut, found); // those of this stack are known at once

    EXPECT_TRUE(std::includes(found.begin(), found.end(), expected.begin(), expected.end()));
}

TEST_F(DiscoveryTest, ParticipantThatGoesComesAsNotAlive)
{
    Participants sut(m_participant);
    {
        const dds::domain::DomainParticipant other(dds::domain::default_id());
        static_cast<void>(sut.take());
    }

    bool isGone = false;
    EXPECT_TRUE(waitUntil([&] {
        for (const auto& sample : sut.take())
        {
            isGone = isGone || sample.info().state().instance_state() != InstanceState::Alive;
        }
        return isGone;
    }));
}

TEST_F(DiscoveryTest, WriterOfTheOtherStackIsFoundWithItsTopicAndParticipant)
{
    const Topic wireTopic = makeTopic(m_wire.participant());
    const Writer writer = makeWriter(wireTopic);
    dds::sub::BuiltinReader<PublicationBuiltinTopicData> sut(m_participant);

    EXPECT_TRUE(waitForWriter(sut, m_wire.participant().key()));
}

TEST_F(DiscoveryTest, MatchedWritersAreToldWithTheirParticipantAndTheHandleThatSamplesCarry)
{
    Reader sut = makeReader(makeTopic(m_participant));
    Writer local = makeWriter(makeTopic(m_participant));
    Writer wire = makeWriter(makeTopic(m_wire.participant()));
    ASSERT_TRUE(waitForReaders(wire, 1));
    wire.write(output(7));
    const auto samples = takeSamples(sut, 1);
    ASSERT_EQ(samples.size(), 1U);

    const auto publications = sut.matched_publications();

    ASSERT_EQ(publications.size(), 2U);
    const auto found = std::find_if(publications.begin(), publications.end(), [&](const auto& publication) {
        return publication.handle == samples[0].info().publication_handle();
    });
    ASSERT_NE(found, publications.end());
    EXPECT_EQ(found->participant, m_wire.participant().key());
    const auto same = sut.matched_publication(found->handle);
    ASSERT_TRUE(same);
    EXPECT_EQ(same->handle, found->handle);
    EXPECT_EQ(same->participant, m_wire.participant().key());
    EXPECT_FALSE(sut.matched_publication(dds::core::InstanceHandle(4711)));
}

TEST_F(DiscoveryTest, MatchedReadersAreToldWithTheirParticipant)
{
    const Reader wireReader = makeReader(makeTopic(m_wire.participant()));
    Writer sut = makeWriter(makeTopic(m_participant));
    ASSERT_TRUE(waitForReaders(sut, 1));

    const auto subscriptions = sut.matched_subscriptions();

    ASSERT_EQ(subscriptions.size(), 1U);
    EXPECT_EQ(subscriptions[0].participant, m_wire.participant().key());
    EXPECT_EQ(subscriptions[0].durability.kind(), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL);
}
