// What of other bridges' targets depends on how soon they are discovered.
#include "buswrappers/DurableXptOutputPub.h"
#include "tests/unit/buswrappers/KeptOutputsFixture.h"

#include <gtest/gtest.h>

using namespace keptoutputs;

namespace
{

using SharedTargetsTimeTest = KeptOutputsFixture;

} // namespace

/// A join waits 350 ms for others to be discovered, and then no longer; what comes later comes without it.
TEST_F(SharedTargetsTimeTest, FullTableOfAnotherBridgeComesWithTheJoin)
{
    const auto other = otherBridge();
    ASSERT_TRUE(testsupport::waitUntil([&] { return other->hasJoined(); }));
    Targets all;
    for (std::uint32_t number = 1; number <= greatest; ++number)
    {
        other->takeUnseen(number, number);
        all[number] = number;
    }
    testsupport::LogRecorder log;

    EXPECT_EQ(bridge()->history(), all);

    EXPECT_EQ(log.takeTexts(), std::vector<std::string>{});
}
