#include "buswrappers/Participant.h"

#include "buswrappers/TypedTopics.h"
#include "dds/core/Reference.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
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

/// Ends the process, which has had no bus so far, and says on standard error what it has found.
[[noreturn]] void describeBus()
{
    ::setenv("KORABRIDGE_DURABLE_STORE", "/store.db", 1);
    ::setenv("CYCLONEDDS_URI", "<CycloneDDS><Domain Id=\"7\"/></CycloneDDS>", 1);
    std::cerr << busDescription() << '\n';
    const DomainParticipant participant = sharedParticipant();
    std::cerr << busDescription() << '\n' << std::flush;
    std::_Exit(0);
}

TEST(Participant, BusIsDescribedAsTheLibraryHasFoundIt)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process of its own
    const std::string rest = ", store /store.db, configuration <CycloneDDS><Domain Id=\"7\"/></CycloneDDS>\n";

    EXPECT_EXIT(describeBus(), testing::ExitedWithCode(0),
                testing::AllOf(testing::HasSubstr(", domain unknown, interface unknown" + rest),
                               testing::EndsWith(", domain 7, interface lo (127.0.0.1)" + rest)));
}
