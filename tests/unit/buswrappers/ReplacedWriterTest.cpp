// What becomes of a writer that is replaced while the network loses what it sends.
#include "buswrappers/Participant.h"
#include "buswrappers/TypedTopics.h"
#include "tests/support/TimeFactor.h"
#include "tests/unit/buswrappers/RouterSide.h"

#include <dds/dds.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <set>

using com::tallowcrest::dds_::routing::MacroXptOutput;
using com::tallowcrest::routing::MacroXptOutputPub;
using namespace std::chrono_literals;

namespace
{

class ConfirmedPub : public MacroXptOutputPub
{
public:
    using MacroXptOutputPub::MacroXptOutputPub;
    void waitUntilConfirmed(std::chrono::milliseconds longest) { writer().wait_for_acknowledgments(longest); }
};

/// Whether all that the bridge sends is lost.
void setMute(bool isMute)
{
    const dds_entity_t participant = com::tallowcrest::routing::sharedParticipant().delegate()->handle();
    ASSERT_EQ(dds_domain_set_deafmute(participant, false, isMute, DDS_INFINITY), DDS_RETCODE_OK);
}

} // namespace

TEST(ReplacedWriterTest, WhatItHasLostIsNotRepeatedBesideTheNewOne)
{
    ConfirmedPub sut("TopicX", false); // first: the default domain is any that there is
    const testsupport::WireDomain wire;
    RouterSide<MacroXptOutput> router(wire, "TopicX", "com:tallowcrest:routing:R1");
    sut.joinRouterPartition("R1");
    ASSERT_TRUE(router.waitForWriters(1));
    sut.write({.macroXptOutput = 1, .macroXptInput = 10});
    ASSERT_EQ(router.takeSamples(1).size(), 1U);

    setMute(true);
    sut.write({.macroXptOutput = 2, .macroXptInput = 20});
    EXPECT_THROW(sut.waitUntilConfirmed(100ms), dds::core::TimeoutError) << "it is lost";
    // A writer that lingers would be gone only after a second, and would speak again until then.
    auto join = std::async(std::launch::async, [&sut] { sut.joinRouterPartition("R1"); });
    join.wait_for(testsupport::scaled(500ms));
    setMute(false);
    join.get();
    sut.write({.macroXptOutput = 3, .macroXptInput = 30});

    std::set<std::uint32_t> came;
    EXPECT_TRUE(testsupport::waitUntil([&] {
        for (const auto& sample : router.reader().take())
        {
            if (sample.info().valid())
            {
                came.insert(sample.data().macroXptOutput);
            }
        }
        return came.contains(3);
    }));
    EXPECT_EQ(came, std::set<std::uint32_t>{3}) << "what is older could arrive after what is newer";
}
