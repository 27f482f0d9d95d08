#include "buswrappers/Participant.h"

#include "buswrappers/TypedTopics.h"
#include "dds/core/Reference.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

using com::tallowcrest::routing::sharedParticipant;
using dds::domain::DomainParticipant;

TEST(Participant, IsOneForAllWhoAsk)
{
    const DomainParticipant first = sharedParticipant();

    EXPECT_EQ(sharedParticipant(), first);
}

TEST(Participant, IsDeletedWithTheLastWrapper)
{
    auto one = std::make_unique<com::tallowcrest::routing::MacroXptOutputPub>("TopicOne", false);
    auto two = std::make_unique<com::tallowcrest::routing::MacroXptOutputPub>("TopicTwo", false);
    two->joinRouterPartition("R1");
    const dds::core::WeakReference<DomainParticipant> slot(sharedParticipant());

    one.reset();
    EXPECT_FALSE(slot.lock().is_nil());
    two.reset();
    EXPECT_TRUE(slot.lock().is_nil());
}

TEST(Participant, IsMadeAgainAfterItWasDeleted)
{
    sharedParticipant();

    EXPECT_FALSE(sharedParticipant().is_nil());
}

TEST(Participant, CanBeAskedForOnManyThreads)
{
    const DomainParticipant first = sharedParticipant();
    std::vector<DomainParticipant> seen(4, DomainParticipant(dds::core::null));
    std::vector<std::thread> threads;
    for (DomainParticipant& participant : seen)
    {
        threads.emplace_back([&participant] { participant = sharedParticipant(); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_EQ(seen, std::vector<DomainParticipant>(4, first));
}
