#include "ddskorabridge/MacroXptMgrTarget.h"

#include "MacroXptMgrTargetFixture.h"
#include "buswrappers/Participant.h"
#include "tests/support/BusCalls.h"

#include <dds/dds.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using namespace targetmgr;

namespace
{

std::vector<dds_entity_t> childrenOf(dds_entity_t entity)
{
    std::vector<dds_entity_t> children(64);
    const dds_return_t count = dds_get_children(entity, children.data(), children.size());
    children.resize(static_cast<std::size_t>(std::max(count, 0)));
    return children;
}

/// Takes the bridge's writer of a topic away from under it, so that what it writes fails.
void deleteWriterOf(const std::string& topicName)
{
    for (const dds_entity_t group : childrenOf(com::tallowcrest::routing::sharedParticipant().delegate()->handle()))
    {
        for (const dds_entity_t writer : childrenOf(group))
        {
            std::array<char, 256> name{};
            if (dds_get_name(dds_get_topic(writer), name.data(), name.size()) > 0 && name.data() == topicName)
            {
                ASSERT_EQ(dds_delete(writer), DDS_RETCODE_OK);
            }
        }
    }
}

using MacroXptMgrTargetTest = MacroXptMgrTargetFixture;

TEST_F(MacroXptMgrTargetTest, TheTableStartsWithoutTargets)
{
    EXPECT_EQ(targetOf(0), "3: 4294967295 0 0");
    EXPECT_EQ(targetOf(maximum), "3: 4294967295 0 0");
    EXPECT_EQ(targetOf(maximum + 1), "4: 0 0 0");
}

TEST_F(MacroXptMgrTargetTest, NothingMayBeTakenOrLockedBeforeAMemberOffersIt)
{
    EXPECT_EQ(m_sut.checkTake(1, 1, 0), 3U);
    EXPECT_EQ(m_sut.checkLpr(1, true, 0), 4U);
}

TEST_F(MacroXptMgrTargetTest, InputsAreCheckedBeforeOutputs)
{
    joinOfferedRouter();

    EXPECT_EQ(m_sut.checkTake(maximum, maximum, 0), 0U);
    EXPECT_EQ(m_sut.checkTake(maximum + 1, maximum + 1, 0), 3U);
    EXPECT_EQ(m_sut.checkTake(maximum + 1, maximum, 0), 4U);
    EXPECT_EQ(m_sut.checkTake(1, 0, 0), 3U) << "offered by nobody";
    EXPECT_EQ(m_sut.checkTake(0, 1, 0), 4U) << "offered by nobody";
    EXPECT_EQ(m_sut.checkTake(std::numeric_limits<std::uint32_t>::max(), 1, 0), 4U);
    EXPECT_EQ(m_sut.checkLpr(maximum, false, 0), 0U);
    EXPECT_EQ(m_sut.checkLpr(maximum + 1, true, 0), 4U);
}

TEST_F(MacroXptMgrTargetTest, ALockedOutputRefusesEveryTake)
{
    joinOfferedRouter();
    m_sut.setLpr(5, 42, LPR_LOCKED, 1);

    EXPECT_EQ(m_sut.checkTake(5, 1, 42), 12U);
    EXPECT_EQ(m_sut.checkTake(5, 1, 0), 12U);
    EXPECT_EQ(m_sut.checkTake(5, 1, 7), 12U);
}

TEST_F(MacroXptMgrTargetTest, AProtectedOutputPermitsItsHolderAndIdZero)
{
    joinOfferedRouter();
    m_sut.setLpr(5, 42, LPR_PROTECTED, 1);

    EXPECT_EQ(m_sut.checkTake(5, 1, 42), 0U);
    EXPECT_EQ(m_sut.checkTake(5, 1, 0), 0U);
    EXPECT_EQ(m_sut.checkTake(5, 1, 7), 13U);
}

TEST_F(MacroXptMgrTargetTest, AStateThatTheBusDoesNotKnowCountsAsReleased)
{
    joinOfferedRouter();
    m_sut.setLpr(5, 42, static_cast<LPRState>(3), 1);

    EXPECT_EQ(m_sut.checkTake(5, 1, 7), 0U);
    EXPECT_EQ(m_sut.checkLpr(5, false, 7), 0U);
}

struct LprCheck
{
    const char* name;
    LPRState state;
    bool force;
    std::uint32_t lprId;
    std::uint32_t result;
};

class MacroXptMgrTargetLprTest : public MacroXptMgrTargetTest, public testing::WithParamInterface<LprCheck>
{};

TEST_P(MacroXptMgrTargetLprTest, CheckLprOfAnOutputHeldBy42)
{
    joinOfferedRouter();
    m_sut.setLpr(5, 42, GetParam().state, 1);

    EXPECT_EQ(m_sut.checkLpr(5, GetParam().force, GetParam().lprId), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Holders, MacroXptMgrTargetLprTest,
                         testing::Values(LprCheck{"LockedByHolder", LPR_LOCKED, false, 42, 0},
                                         LprCheck{"LockedByZero", LPR_LOCKED, false, 0, 0},
                                         LprCheck{"LockedByStranger", LPR_LOCKED, false, 7, 12},
                                         LprCheck{"LockedForced", LPR_LOCKED, true, 7, 0},
                                         LprCheck{"ProtectedByHolder", LPR_PROTECTED, false, 42, 0},
                                         LprCheck{"ProtectedByZero", LPR_PROTECTED, false, 0, 0},
                                         LprCheck{"ProtectedByStranger", LPR_PROTECTED, false, 7, 13},
                                         LprCheck{"ProtectedForced", LPR_PROTECTED, true, 7, 0},
                                         LprCheck{"ReleasedByStranger", LPR_RELEASED, false, 7, 0}),
                         [](const auto& check) { return std::string(check.param.name); });

TEST_F(MacroXptMgrTargetTest, ATakeIsStoredAndPublishedWithTheStateAsItWas)
{
    joinOfferedRouter();
    m_sut.setLpr(5, 42, LPR_PROTECTED, 1);

    m_sut.take(5, 7, 0, 2);

    EXPECT_EQ(published(m_targets, 1), Lines{"5 7 2 0 1"}) << "the newest of its instance";
    EXPECT_EQ(targetOf(5), "0: 7 0 1");
}

TEST_F(MacroXptMgrTargetTest, ATakeOrLockThatCannotBeWrittenLeavesTheTableAsItWas)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 42, 2);
    deleteWriterOf(targetTopic);

    EXPECT_THROW(m_sut.take(5, 8, 43, 3), dds::core::Exception);
    EXPECT_EQ(targetOf(5), "0: 7 42 0");
    EXPECT_THROW(m_sut.setLpr(5, 43, LPR_LOCKED, 4), dds::core::Exception);
    EXPECT_EQ(targetOf(5), "0: 7 42 0");
}

TEST_F(MacroXptMgrTargetTest, ATakeBeforeTheFirstJoinChangesNothing)
{
    m_sut.take(5, 7, 42, 2);

    EXPECT_EQ(targetOf(5), "3: 4294967295 0 0");
}

TEST_F(MacroXptMgrTargetTest, ALockBeforeTheFirstJoinIsStored)
{
    m_sut.setLpr(5, 42, LPR_LOCKED, 1);

    EXPECT_EQ(targetOf(5), "3: 4294967295 42 2");
}

TEST_F(MacroXptMgrTargetTest, ALockIsStoredAndPublishedWithTheInputAsItWas)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);
    EXPECT_EQ(published(m_targets, 1), Lines{"5 7 2 1 0"});

    m_sut.setLpr(5, 42, LPR_LOCKED, 3);

    EXPECT_EQ(published(m_targets, 1), Lines{"5 7 3 42 2"});
    EXPECT_EQ(targetOf(5), "0: 7 42 2");
}

TEST_F(MacroXptMgrTargetTest, ATakeOrLockBeyondTheTableIsIgnored)
{
    joinOfferedRouter();

    m_sut.take(maximum + 1, 7, 1, 2);
    m_sut.setLpr(noInput, 1, LPR_LOCKED, 2);
    m_sut.take(maximum, 7, 1, 2);

    EXPECT_EQ(published(m_targets, 1), Lines{"288 7 2 1 0"});
}

TEST_F(MacroXptMgrTargetTest, AfterLeavingATakeIsCheckedButNeitherStoredNorPublished)
{
    joinOfferedRouter();
    PeerReader<MacroXptOutput> nobody(m_peer, targetTopic, "", dds::core::policy::DurabilityKind::PERSISTENT);

    m_sut.leaveRouterPartition();
    m_sut.take(5, 7, 1, 2);
    m_sut.setLpr(6, 42, LPR_LOCKED, 3);

    EXPECT_EQ(m_sut.checkTake(5, 7, 1), 0U);
    EXPECT_EQ(targetOf(5), "3: 4294967295 0 0");
    EXPECT_EQ(targetOf(6), "3: 4294967295 42 2") << "a lock is stored";
    EXPECT_EQ(m_targets.take().size(), 0U);
    EXPECT_EQ(nobody.take().size(), 0U);
    EXPECT_EQ(m_log.takeTexts(), Lines{"INFO TopicMacroXptOutputVideoTarget leaveRouterPartition(routerPartition '')"});
}

TEST_F(MacroXptMgrTargetTest, TheTableSurvivesLeavingAndJoiningAgain)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);

    m_sut.leaveRouterPartition();
    join(m_sut, "R1");

    EXPECT_EQ(targetOf(5), "0: 7 1 0");
    m_targets.take();
    m_sut.take(6, 8, 1, 2);
    EXPECT_EQ(published(m_targets, 1), Lines{"6 8 2 1 0"});
}

TEST_F(MacroXptMgrTargetTest, ALocalTargetIsAdoptedByAnOutputWithoutOne)
{
    joinOfferedRouter();

    m_sut.onLocalTarget({.macroXptOutput = 5, .macroXptInput = 9, .when = 3, .lprId = 4, .lprState = LPR_LOCKED});

    EXPECT_EQ(published(m_targets, 1), Lines{"5 9 3 4 2"});
    EXPECT_EQ(targetOf(5), "0: 9 4 2");
}

TEST_F(MacroXptMgrTargetTest, ALocalTargetForAnOutputThatHasOneOnlyPublishesThatOneAgain)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);
    published(m_targets, 1);

    m_sut.onLocalTarget({.macroXptOutput = 5, .macroXptInput = 9, .when = 3, .lprId = 4, .lprState = LPR_LOCKED});

    EXPECT_EQ(published(m_targets, 1), Lines{"5 7 2 1 0"});
    EXPECT_EQ(targetOf(5), "0: 7 1 0");
}

TEST_F(MacroXptMgrTargetTest, AnInputJustAboveTheMaximumCountsAsNoTarget)
{
    joinOfferedRouter();
    m_sut.onDurableTarget({.macroXptOutput = 5, .macroXptInput = maximum}, later);
    m_sut.onDurableTarget({.macroXptOutput = 6, .macroXptInput = maximum + 1}, later);

    m_sut.onLocalTarget({.macroXptOutput = 5, .macroXptInput = 9});
    m_sut.onLocalTarget({.macroXptOutput = 6, .macroXptInput = 9});

    EXPECT_EQ(targetOf(5), "0: 288 0 0");
    EXPECT_EQ(targetOf(6), "0: 9 0 0");
}

TEST_F(MacroXptMgrTargetTest, ADurableTargetReplacesAndIsPublished)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);
    published(m_targets, 1);

    m_sut.onDurableTarget({.macroXptOutput = 5, .macroXptInput = 9, .when = 3, .lprId = 4, .lprState = LPR_PROTECTED},
                          later);

    EXPECT_EQ(published(m_targets, 1), Lines{"5 9 3 4 1"});
    EXPECT_EQ(targetOf(5), "0: 9 4 1");
}

TEST_F(MacroXptMgrTargetTest, TargetsBeyondTheTableAreIgnored)
{
    joinOfferedRouter();

    m_sut.onLocalTarget({.macroXptOutput = maximum + 1, .macroXptInput = 9});
    m_sut.onDurableTarget({.macroXptOutput = noInput, .macroXptInput = 9}, later);
    m_sut.onDurableTarget({.macroXptOutput = maximum, .macroXptInput = 9}, later);

    EXPECT_EQ(published(m_targets, 1), Lines{"288 9 0 0 0"});
}

TEST_F(MacroXptMgrTargetTest, ATargetWhoseInputNobodyOffersIsReportedAsInvalid)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);

    m_members.dispose(wholeRouter);

    EXPECT_TRUE(m_apartment->runUntil([this] { return m_sut.checkTake(5, 7, 1) == 3; }));
    EXPECT_EQ(targetOf(5), "3: 7 1 0");
}

TEST_F(MacroXptMgrTargetTest, MembersAreLoggedAsTheyComeAndGo)
{
    join(m_sut, "R1");
    m_log.takeTexts();

    m_members.write({.memberIndex = 3,
                     .macroXptInputStart = 1,
                     .numMacroXptInputs = 144,
                     .macroXptOutputStart = 73,
                     .numMacroXptOutputs = 72});
    ASSERT_TRUE(m_apartment->runUntil([this] { return m_sut.checkTake(73, 144, 0) == 0; }));

    EXPECT_EQ(m_log.takeTexts(), Lines{"INFO addRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget\n"
                                       " rtr         : R1\n"
                                       " member idx  : 3\n"
                                       " MacroInStrt : 1\n"
                                       " numInputs   : 144\n"
                                       " MacroOutStrt: 73\n"
                                       " numOutputs  : 72"});

    m_members.dispose({.memberIndex = 3});
    ASSERT_TRUE(m_apartment->runUntil([this] { return m_sut.checkTake(73, 144, 0) != 0; }));

    const Lines lines = m_log.takeTexts();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].substr(0, 62), "INFO removeRouterMemberMacroXpts  TopicMacroXptOutputVideoTarg");
    EXPECT_NE(lines[0].find("\n rtr         : R1\n member idx  : 3\n"), std::string::npos);
}

TEST_F(MacroXptMgrTargetTest, AMemberThatLosesItsWriterIsRemoved)
{
    joinOfferedRouter();

    m_members.close();

    EXPECT_TRUE(m_apartment->runUntil([this] { return m_sut.checkTake(1, 1, 0) == 3; }));
}

TEST_F(MacroXptMgrTargetTest, ATakeOrLockThatTheBusRefusesLeavesTheTableAsItWas)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);
    testsupport::BusCalls bus;
    bus.failWrites(targetTopic, DDS_RETCODE_TIMEOUT);

    EXPECT_THROW(m_sut.take(5, 8, 9, 3), dds::core::TimeoutError);
    EXPECT_EQ(targetOf(5), "0: 7 1 0");
    EXPECT_THROW(m_sut.setLpr(5, 42, LPR_LOCKED, 3), dds::core::TimeoutError);
    EXPECT_EQ(targetOf(5), "0: 7 1 0");

    bus.failWrites(targetTopic, DDS_RETCODE_OK);
    m_sut.setLpr(5, 42, LPR_LOCKED, 4);
    EXPECT_EQ(targetOf(5), "0: 7 42 2");
}

TEST_F(MacroXptMgrTargetTest, ShowPrintsTheRowsAskedFor)
{
    m_sut.setLpr(4, 1, LPR_PROTECTED, 0x02000000);
    m_sut.setLpr(5, 42, LPR_LOCKED, 0);
    testing::internal::CaptureStdout();

    m_sut.show(4, 5);
    m_sut.show(maximum + 1, maximum + 10);

    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "routerPartition  Output  Input      When      LprId  LprState\n"
              "---------------- ------ ------ -------------- ----- ---------\n"
              "                      4     -1    00:00:00;00     1 protected\n"
              "                      5     -1    **:**:**:**    42    locked\n");
}

} // namespace
