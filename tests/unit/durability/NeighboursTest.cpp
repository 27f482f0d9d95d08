#include "durability/Neighbours.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

using namespace com::tallowcrest::durability;

namespace
{

using Digests = std::vector<std::uint64_t>;
using Wants = std::vector<std::pair<NeighbourId, Bucket>>;

constexpr NeighbourId self = 50;

class NeighboursTest : public testing::Test
{
protected:
    using Time = Neighbours::Time;

    bool say(NeighbourId id, Digests digests, std::vector<NeighbourId> met = {self}, Time now = Time(0))
    {
        return m_sut.put(id, {.digests = std::move(digests), .met = std::move(met), .wants = {}}, now);
    }
    Wants missing(const Digests& digests, std::size_t attempt = 0, Time before = Time(0)) const
    {
        Wants wants;
        for (const Status::Want& want : m_sut.missing(digests, before, attempt))
        {
            wants.emplace_back(want.of, want.bucket);
        }
        return wants;
    }

    Neighbours m_sut{2};
};

} // namespace

TEST_F(NeighboursTest, NamesWhoCameAndHasNotGone)
{
    EXPECT_TRUE(m_sut.add(9));
    EXPECT_TRUE(m_sut.add(3));
    EXPECT_FALSE(m_sut.add(3)) << "known already";
    m_sut.remove(9);

    EXPECT_EQ(m_sut.ids(), std::vector<NeighbourId>{3});
    EXPECT_TRUE(m_sut.knows(3));
    EXPECT_FALSE(m_sut.knows(9));
}

TEST_F(NeighboursTest, MoreContentsThanAStatusHasRoomForAreAskedForInTurns)
{
    constexpr std::size_t buckets = 40;
    Neighbours sut(buckets);
    for (NeighbourId id = 1; id <= Neighbours::most; ++id)
    {
        ASSERT_TRUE(sut.add(id));
        ASSERT_TRUE(sut.put(id, {.digests = Digests(buckets, id), .met = {self}, .wants = {}}, Time(0)));
    }

    std::set<std::pair<Bucket, NeighbourId>> asked;
    for (std::size_t attempt = 0; attempt < 8; ++attempt)
    {
        const auto wants = sut.missing(Digests(buckets, 0), Time(0), attempt);
        EXPECT_LE(wants.size(), Status::mostWants);
        for (const Status::Want& want : wants)
        {
            asked.emplace(want.bucket, want.of);
        }
    }
    EXPECT_EQ(asked.size(), buckets * Neighbours::most);
}

TEST_F(NeighboursTest, EachBucketAsksForAsMuchAsItHasRoomForAndGoesOnWhereItWas)
{
    constexpr std::size_t buckets = 64;
    constexpr std::size_t room = Status::mostWants / buckets;
    Neighbours sut(buckets);
    for (NeighbourId id = 1; id <= room + 1; ++id)
    {
        Digests digests(buckets, 0);
        digests[0] = id;
        ASSERT_TRUE(sut.add(id) && sut.put(id, {.digests = digests, .met = {self}, .wants = {}}, Time(0)));
    }
    const Digests nothing(buckets, 0);

    EXPECT_EQ(sut.missing(nothing, Time(0), 0).size(), room);
    EXPECT_EQ(sut.missing(nothing, Time(0), 0).front().of, 1U);
    // As many times as that the room leaves one over.
    const auto wants = sut.missing(nothing, Time(0), room);
    EXPECT_EQ(wants.size(), room);
    EXPECT_EQ(wants.front().of, 2U);
}

TEST_F(NeighboursTest, MoreThanThereCanBeAreNotWaitedFor)
{
    for (NeighbourId id = 1; id <= Neighbours::most; ++id)
    {
        ASSERT_TRUE(m_sut.add(id));
    }

    EXPECT_FALSE(m_sut.add(Neighbours::most + 1));

    EXPECT_EQ(m_sut.ids().size(), Neighbours::most);
}

TEST_F(NeighboursTest, StatusOfAStrangerOrOfAnotherSizeIsRefused)
{
    m_sut.add(3);

    EXPECT_FALSE(say(4, {0, 0}));
    EXPECT_FALSE(say(3, {0}));
    EXPECT_FALSE(say(3, {0, 0, 0}));
    EXPECT_EQ(m_sut.uncovered(self, {0, 0}), 1U);
    EXPECT_TRUE(say(3, {0, 0}));
}

TEST_F(NeighboursTest, WhoHasNotSpokenSinceItMetUsIsNotCovered)
{
    m_sut.add(3);
    EXPECT_EQ(m_sut.uncovered(self, {0, 0}), 1U);

    say(3, {0, 0}, {4, 5});
    EXPECT_EQ(m_sut.uncovered(self, {0, 0}), 1U) << "it may know more than it has been able to say";

    say(3, {0, 0}, {4, self, 5});
    EXPECT_TRUE(m_sut.areCovered(self, {0, 0}));
}

TEST_F(NeighboursTest, WhoseDigestIsKnownHereIsCovered)
{
    m_sut.add(3);
    say(3, {11, 12});

    EXPECT_FALSE(m_sut.areCovered(self, {11, 0}));
    EXPECT_TRUE(m_sut.areCovered(self, {11, 12}));
    m_sut.takeOver(1, 12);
    EXPECT_TRUE(m_sut.areCovered(self, {11, 99})) << "its rows have been taken over; there is more here";
    EXPECT_FALSE(m_sut.areCovered(self, {99, 12})) << "those of the other bucket have not";
}

TEST_F(NeighboursTest, WhoKnowsNothingIsCoveredWhateverIsKnownHere)
{
    m_sut.add(3);
    say(3, {0, 0});

    EXPECT_TRUE(m_sut.areCovered(self, {11, 12}));
    EXPECT_EQ(missing({11, 12}), Wants{});
}

TEST_F(NeighboursTest, OfWhatHasBeenTakenOverTheLastThirtyTwoCount)
{
    m_sut.add(3);
    m_sut.takeOver(0, 11);
    for (std::uint64_t digest = 100; digest < 131; ++digest)
    {
        m_sut.takeOver(0, digest);
        m_sut.takeOver(0, digest); // once more is no more
    }
    say(3, {11, 0});
    ASSERT_TRUE(m_sut.areCovered(self, {0, 0}));

    m_sut.takeOver(0, 131);

    EXPECT_FALSE(m_sut.areCovered(self, {0, 0}));
}

TEST_F(NeighboursTest, OneOfThoseThatKnowTheSameIsAskedAndAnotherOneTheNextTime)
{
    for (const NeighbourId id : std::vector<NeighbourId>{3, 4, 5})
    {
        m_sut.add(id);
        say(id, {11, 0});
    }

    EXPECT_EQ(missing({0, 0}, 0), (Wants{{3, 0}}));
    EXPECT_EQ(missing({0, 0}, 1), (Wants{{4, 0}}));
    EXPECT_EQ(missing({0, 0}, 5), (Wants{{5, 0}}));
}

TEST_F(NeighboursTest, EachDifferentBucketIsAskedFor)
{
    m_sut.add(3);
    m_sut.add(4);
    say(3, {11, 12});
    say(4, {21, 12});

    EXPECT_EQ(missing({0, 0}), (Wants{{3, 0}, {4, 0}, {3, 1}}));
    EXPECT_EQ(missing({21, 0}), (Wants{{3, 0}, {3, 1}}));
    EXPECT_EQ(missing({21, 12}), (Wants{{3, 0}}));
}

TEST_F(NeighboursTest, DifferenceIsAskedForOnceItHasStood)
{
    m_sut.add(3);
    say(3, {11, 12}, {self}, Time(100));
    say(3, {11, 13}, {self}, Time(200));

    EXPECT_EQ(missing({0, 0}, 0, Time(99)), Wants{});
    EXPECT_EQ(missing({0, 0}, 0, Time(199)), (Wants{{3, 0}})) << "the other one has changed since";
    EXPECT_EQ(missing({0, 0}, 0, Time(200)), (Wants{{3, 0}, {3, 1}}));
}

TEST_F(NeighboursTest, WhoHasGoneOrSaysNothingIsNotAsked)
{
    m_sut.add(3);
    m_sut.add(4);
    say(3, {11, 0});
    m_sut.remove(3);

    EXPECT_EQ(missing({0, 0}), Wants{});
    EXPECT_EQ(m_sut.uncovered(self, {0, 0}), 1U) << "the one that says nothing";
}

TEST_F(NeighboursTest, RankIsTheNumberOfThoseWhoseNamesComeBefore)
{
    EXPECT_EQ(m_sut.rank(self), 0U);
    for (const NeighbourId id : std::vector<NeighbourId>{49, 51, 3})
    {
        m_sut.add(id);
    }

    EXPECT_EQ(m_sut.rank(self), 2U);
}

TEST(ChooseNeighboursTest, BridgesGoFirstThenThoseThatAreThereThenTheNewOnes)
{
    std::set<NeighbourId> all;
    for (NeighbourId id = 1; id <= Neighbours::most + 3; ++id)
    {
        all.insert(id);
    }
    constexpr NeighbourId there = Neighbours::most + 2;
    constexpr NeighbourId bridge = Neighbours::most + 3;

    const auto chosen = chooseNeighbours(all, {bridge, bridge + 1}, {there});

    std::set<NeighbourId> expected;
    for (NeighbourId id = 1; id <= Neighbours::most - 2; ++id)
    {
        expected.insert(id);
    }
    expected.insert({there, bridge});
    EXPECT_EQ(chosen, expected);
}
