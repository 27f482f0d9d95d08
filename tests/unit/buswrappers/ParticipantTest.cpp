#include "buswrappers/Participant.h"

#include "buswrappers/TypedTopics.h"
#include "dds/core/Reference.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using com::tallowcrest::routing::busDescription;
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

TEST(Participant, BusIsDescribedAsTheLibraryHasFoundIt)
{
    ::setenv("KORABRIDGE_DURABLE_STORE", "/store.db", 1);
    ::setenv("CYCLONEDDS_URI", "<CycloneDDS><Domain Id=\"7\"/></CycloneDDS>", 1);
    const std::string rest = ", store /store.db, configuration <CycloneDDS><Domain Id=\"7\"/></CycloneDDS>";

    EXPECT_THAT(busDescription(), testing::EndsWith(", domain unknown, interface unknown" + rest));

    const DomainParticipant participant = sharedParticipant();

    EXPECT_THAT(busDescription(), testing::EndsWith(", domain 7, interface lo (127.0.0.1)" + rest));
}
