#include "ddskorabridge/MacroXptMgrStatus.h"

#include "BusTest.h"
#include "tests/fakes/FakeLevel.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace com::tallowcrest::dds_::routing;

namespace
{

using Lines = std::vector<std::string>;

constexpr const char* statusTopic = "TopicMacroXptOutputAudioStatus";
constexpr std::uint32_t maximum = 2304;

class MacroXptMgrStatusTest : public BusTest
{
protected:
    MacroXptMgrStatusTest() { m_levels->set(2, m_level); }

    std::string statusOf(std::uint32_t output)
    {
        std::uint32_t input = 0;
        LPRState lprState = LPR_RELEASED;
        std::uint32_t lprId = 0;
        const std::uint32_t result = m_sut.getStatus(output, input, lprState, lprId);
        return std::to_string(result) + ": " + std::to_string(input) + " " + std::to_string(lprId) + " " +
               std::to_string(lprState);
    }

    bool waitForStatus(std::uint32_t output, const std::string& status)
    {
        return m_apartment->runUntil([&] { return statusOf(output) == status; });
    }

    /// The notices that the level was given since the last call.
    Lines notices() { return m_level->takeCallTexts(); }

    std::shared_ptr<FakeLevel> m_level = std::make_shared<FakeLevel>("two");
    std::shared_ptr<LevelContainer> m_levels = std::make_shared<LevelContainer>();
    PeerWriter<MacroXptOutput> m_router{m_peer, statusTopic, "R1"};
    MacroXptMgrStatus m_sut{m_apartment, maximum, statusTopic, m_levels};
};

TEST_F(MacroXptMgrStatusTest, NoRouteIsKnownAtFirst)
{
    EXPECT_EQ(statusOf(0), "0: 4294967295 0 0");
    EXPECT_EQ(statusOf(maximum), "0: 4294967295 0 0");
    EXPECT_EQ(statusOf(maximum + 1), "4: 0 0 0");
}

TEST_F(MacroXptMgrStatusTest, AStatusIsKeptAndBothChangesAreNoticed)
{
    m_sut.joinRouterPartition("R1");

    m_router.write({.macroXptOutput = 5, .macroXptInput = 7, .when = 1, .lprId = 42, .lprState = LPR_LOCKED});

    EXPECT_TRUE(waitForStatus(5, "0: 7 42 2"));
    EXPECT_EQ(notices(), (Lines{"noteSourceChange 5", "noteLprChange 5"}));
}

TEST_F(MacroXptMgrStatusTest, ARangeIsReportedAsItsOutputs)
{
    m_sut.joinRouterPartition("R1");
    m_router.write({.macroXptOutput = maximum - 1, .macroXptInput = 7, .when = 1, .lprId = 42, .lprState = LPR_LOCKED});
    ASSERT_TRUE(waitForStatus(maximum - 1, "0: 7 42 2"));

    Lines range;
    for (const auto& record : m_sut.records(maximum - 2, 4)) // the last of them is beyond the table
    {
        range.push_back(std::to_string(record.macroXptOutput) + ": " + std::to_string(record.macroXptInput) + " " +
                        std::to_string(record.lprId) + " " + std::to_string(record.lprState));
    }
    EXPECT_EQ(range, (Lines{"2302: 4294967295 0 0", "2303: 7 42 2", "2304: 4294967295 0 0"}));
    EXPECT_TRUE(m_sut.records(maximum + 1, 4).empty());
}

TEST_F(MacroXptMgrStatusTest, OnlyWhatChangedIsNoticed)
{
    m_sut.joinRouterPartition("R1");
    m_router.write({.macroXptOutput = 5, .macroXptInput = 7, .when = 1, .lprId = 0, .lprState = LPR_RELEASED});
    ASSERT_TRUE(waitForStatus(5, "0: 7 0 0"));
    EXPECT_EQ(notices(), Lines{"noteSourceChange 5"});

    m_router.write({.macroXptOutput = 5, .macroXptInput = 7, .when = 1, .lprId = 42, .lprState = LPR_RELEASED});
    ASSERT_TRUE(waitForStatus(5, "0: 7 42 0"));
    EXPECT_EQ(notices(), Lines{"noteLprChange 5"});

    m_router.write({.macroXptOutput = 5, .macroXptInput = 7, .when = 1, .lprId = 42, .lprState = LPR_PROTECTED});
    ASSERT_TRUE(waitForStatus(5, "0: 7 42 1"));
    EXPECT_EQ(notices(), Lines{"noteLprChange 5"});
}

TEST_F(MacroXptMgrStatusTest, AChangeOfTheTimecodeAloneIsKeptWithoutANotice)
{
    m_sut.joinRouterPartition("R1");
    m_router.write({.macroXptOutput = 5, .macroXptInput = 7, .when = 0});
    ASSERT_TRUE(waitForStatus(5, "0: 7 0 0"));
    notices();

    m_router.write({.macroXptOutput = 5, .macroXptInput = 7, .when = 0x02000000});

    const std::string row = "              R1      5      7    00:00:00;00     0  released\n";
    EXPECT_TRUE(m_apartment->runUntil([&] { return m_sut.table(5, 5).find(row) != std::string::npos; }));
    EXPECT_EQ(notices(), Lines{});
}

TEST_F(MacroXptMgrStatusTest, AStatusBeyondTheTableIsSkippedValidOrNot)
{
    m_sut.joinRouterPartition("R1");
    testing::internal::CaptureStdout();

    m_router.write({.macroXptOutput = maximum + 1, .macroXptInput = 7});
    m_router.dispose({.macroXptOutput = maximum + 1});
    m_router.write({.macroXptOutput = maximum, .macroXptInput = 8});

    EXPECT_TRUE(waitForStatus(maximum, "0: 8 0 0"));
    EXPECT_EQ(notices(), Lines{"noteSourceChange 2304"});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(MacroXptMgrStatusTest, ADisposedStatusIsResetNoticedAndPrinted)
{
    m_sut.joinRouterPartition("R1");
    m_router.write({.macroXptOutput = 5, .macroXptInput = 7, .when = 1, .lprId = 42, .lprState = LPR_LOCKED});
    ASSERT_TRUE(waitForStatus(5, "0: 7 42 2"));
    notices();
    m_log.takeTexts();
    testing::internal::CaptureStdout();

    m_router.dispose({.macroXptOutput = 5});

    EXPECT_TRUE(waitForStatus(5, "0: 4294967295 0 0"));
    EXPECT_EQ(notices(), (Lines{"noteSourceChange 5", "noteLprChange 5"}));
    const std::string printed = testing::internal::GetCapturedStdout();
    const std::string start = "=== [MacroXptMgrStatus] invalid message received\n"
                              "    routerPartition: R1\n"
                              "    output:          5\n"
                              "    input:           ";
    EXPECT_EQ(printed.substr(0, start.size()), start);
    EXPECT_NE(printed.find("\n    when:            "), std::string::npos);
    EXPECT_NE(printed.find("\n    lprId:           "), std::string::npos);
    EXPECT_NE(printed.find("\n    lprState:        "), std::string::npos);
    EXPECT_EQ(m_log.takeTexts(), Lines{}) << "on the console, not in the log";
}

TEST_F(MacroXptMgrStatusTest, ARouterThatGoesAwayResetsItsOutputs)
{
    m_sut.joinRouterPartition("R1");
    m_router.write({.macroXptOutput = 5, .macroXptInput = 7});
    m_router.write({.macroXptOutput = 6, .macroXptInput = 8});
    ASSERT_TRUE(waitForStatus(6, "0: 8 0 0"));
    ASSERT_TRUE(waitForStatus(5, "0: 7 0 0"));
    testing::internal::CaptureStdout();

    m_router.close();

    EXPECT_TRUE(waitForStatus(5, "0: 4294967295 0 0"));
    EXPECT_TRUE(waitForStatus(6, "0: 4294967295 0 0"));
    testing::internal::GetCapturedStdout();
}

TEST_F(MacroXptMgrStatusTest, EveryLevelIsTold)
{
    const auto other = std::make_shared<FakeLevel>("three");
    m_levels->set(3, other);
    m_sut.joinRouterPartition("R1");

    m_router.write({.macroXptOutput = 5, .macroXptInput = 7});

    ASSERT_TRUE(waitForStatus(5, "0: 7 0 0"));
    EXPECT_EQ(notices(), Lines{"noteSourceChange 5"});
    EXPECT_EQ(other->takeCallTexts(), Lines{"noteSourceChange 5"});
}

TEST_F(MacroXptMgrStatusTest, AWholeRouterIsTakenInOneBurst)
{
    for (std::uint32_t output = 1; output <= maximum; ++output)
    {
        m_router.write({.macroXptOutput = output, .macroXptInput = maximum + 1 - output});
    }

    m_sut.joinRouterPartition("R1");

    EXPECT_TRUE(waitForStatus(maximum, "0: 1 0 0"));
    EXPECT_TRUE(waitForStatus(1, "0: 2304 0 0"));
    EXPECT_TRUE(m_apartment->runUntil([this] { return m_level->calls.size() == maximum; }));
}

TEST_F(MacroXptMgrStatusTest, TheTableSurvivesLeavingAndIsRefilledByJoiningAgain)
{
    m_router.write({.macroXptOutput = 5, .macroXptInput = 7});
    m_sut.joinRouterPartition("R1");
    ASSERT_TRUE(waitForStatus(5, "0: 7 0 0"));
    m_log.takeTexts();

    m_sut.leaveRouterPartition();
    m_router.write({.macroXptOutput = 5, .macroXptInput = 8});
    m_apartment->runAll();

    EXPECT_EQ(statusOf(5), "0: 7 0 0");

    m_sut.joinRouterPartition("R1");

    EXPECT_TRUE(waitForStatus(5, "0: 8 0 0"));
    EXPECT_EQ(m_log.takeTexts(),
              (Lines{"INFO TopicMacroXptOutputAudioStatus leaveRouterPartition(routerPartition '')",
                     "INFO TopicMacroXptOutputAudioStatus joinRouterPartition(routerPartition 'R1')"}));
}

TEST_F(MacroXptMgrStatusTest, ShowPrintsTheRowsAskedFor)
{
    testing::internal::CaptureStdout();

    m_sut.show(maximum, maximum + 9);
    m_sut.show(maximum + 1, maximum + 10);

    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "routerPartition  Output  Input      When      LprId  LprState\n"
              "---------------- ------ ------ -------------- ----- ---------\n"
              "                   2304     -1    **:**:**:**     0  released\n");
}

} // namespace
