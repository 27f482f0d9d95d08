#include "tests/e2e/allocations/BridgeWithin.h"
#include "tests/e2e/allocations/MemoryAtRest.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <string>
#include <vector>

namespace
{

using testsupport::ChildProcess;

class NeighbourMemoryTest : public BridgeWithin
{
protected:
    void SetUp() override
    {
        BridgeWithin::SetUp();
        std::vector<std::string> takes{"take"};
        for (int output = 1; output <= 288; ++output)
        {
            takes.push_back("1:" + std::to_string(output) + ":1");
        }
        ChildProcess client(testsupport::programPath("koractl"), takes);
        ASSERT_EQ(client.waitForExit(), 0) << client.errors();
    }
    void restartNeighbour(int count) const
    {
        for (int i = 0; i < count; ++i)
        {
            ChildProcess neighbour(testsupport::programPath("korabridge"), {"17", "2", "Bridge Two", "restarted"},
                                   {.environment = {{"KORABRIDGE_DURABLE_STORE", m_directory.path() / "two.db"},
                                                    {"KORABRIDGE_DURABLE_MEMORY", m_directory.path()}}});
            ASSERT_TRUE(neighbour.waitForOutput("connected to router", std::chrono::seconds(30))) << i;
            neighbour.signal(SIGTERM);
            ASSERT_TRUE(neighbour.waitForExit()) << i;
        }
    }

    const testsupport::TempDir m_directory;
};

} // namespace

TEST_F(NeighbourMemoryTest, NeighbourThatRestartsLeavesNothingBehindButWhatTheLibraryKeepsOfIt)
{
    constexpr int numRestarts = 20;
    restartNeighbour(5);

    const Memory restarts = growth([this] { restartNeighbour(numRestarts); });

    std::cout << restarts.blocks << " blocks of ours and " << restarts.bytes << " bytes of the heap\n";
    EXPECT_LT(restarts.blocks, numRestarts);
}
