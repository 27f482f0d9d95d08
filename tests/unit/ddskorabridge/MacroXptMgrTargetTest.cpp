#include "ddskorabridge/MacroXptMgrTarget.h"

#include "BusTest.h"
#include "buswrappers/Participant.h"
#include "tests/support/BusCalls.h"
#include "tests/support/TimeFactor.h"

#include <dds/dds.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>
#include <thread>
#include <vector>

using namespace com::tallowcrest::dds_::routing;

namespace
{

using Lines = std::vector<std::string>;

constexpr const char* memberTopic = "TopicRouterMemberMacroXptsDxVideo";
constexpr const char* targetTopic = "TopicMacroXptOutputVideoTarget";
constexpr std::uint32_t noInput = 4294967295U;
constexpr std::uint32_t maximum = 288;

const RouterMemberMacroXpts wholeRouter{.memberIndex = 1,
                                        .macroXptInputStart = 1,
                                        .numMacroXptInputs = 1000,
                                        .macroXptOutputStart = 1,
                                        .numMacroXptOutputs = 1000};

std::string text(const MacroXptOutput& sample)
{
    return std::to_string(sample.macroXptOutput) + " " + std::to_string(sample.macroXptInput) + " " +
           std::to_string(sample.when) + " " + std::to_string(sample.lprId) + " " + std::to_string(sample.lprState);
}

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

class MacroXptMgrTargetTest : public BusTest
{
protected:
    /// A router with members that offer everything, and a manager that has joined it.
    void joinOfferedRouter()
    {
        m_members.write(wholeRouter);
        m_sut.joinRouterPartition("R1");
        ASSERT_TRUE(m_apartment->runUntil([this] { return m_sut.checkTake(1, 1, 0) == 0; }));
        m_log.takeTexts();
    }

    Lines published(PeerReader<MacroXptOutput>& reader, std::size_t count)
    {
        Lines lines;
        m_apartment->runUntil([&] {
            for (const MacroXptOutput& sample : reader.take())
            {
                lines.push_back(text(sample));
            }
            return lines.size() >= count;
        });
        return lines;
    }

    std::string targetOf(std::uint32_t output)
    {
        MacroXptOutput target{.macroXptOutput = output};
        const std::uint32_t result = m_sut.getTarget(output, target.macroXptInput, target.lprState, target.lprId);
        return std::to_string(result) + ": " + std::to_string(target.macroXptInput) + " " +
               std::to_string(target.lprId) + " " + std::to_string(target.lprState);
    }

    /// The calls that are about the target topic itself.
    static Lines ofTargets(const Lines& calls)
    {
        Lines result;
        std::copy_if(calls.begin(), calls.end(), std::back_inserter(result), [](const std::string& call) {
            return call.find(targetTopic) != std::string::npos && call.find("_durable") == std::string::npos;
        });
        return result;
    }

    PeerWriter<RouterMemberMacroXpts> m_members{m_peer, memberTopic, "R1"};
    PeerReader<MacroXptOutput> m_targets{m_peer, targetTopic, "R1", dds::core::policy::DurabilityKind::PERSISTENT};
    MacroXptMgrTarget m_sut{m_apartment, memberTopic, maximum, maximum, targetTopic};
};

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
    m_sut.joinRouterPartition("R1");

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
    m_sut.onDurableTarget({.macroXptOutput = 5, .macroXptInput = maximum});
    m_sut.onDurableTarget({.macroXptOutput = 6, .macroXptInput = maximum + 1});

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

    m_sut.onDurableTarget({.macroXptOutput = 5, .macroXptInput = 9, .when = 3, .lprId = 4, .lprState = LPR_PROTECTED});

    EXPECT_EQ(published(m_targets, 1), Lines{"5 9 3 4 1"});
    EXPECT_EQ(targetOf(5), "0: 9 4 1");
}

TEST_F(MacroXptMgrTargetTest, TargetsBeyondTheTableAreIgnored)
{
    joinOfferedRouter();

    m_sut.onLocalTarget({.macroXptOutput = maximum + 1, .macroXptInput = 9});
    m_sut.onDurableTarget({.macroXptOutput = noInput, .macroXptInput = 9});
    m_sut.onDurableTarget({.macroXptOutput = maximum, .macroXptInput = 9});

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
    m_sut.joinRouterPartition("R1");
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

TEST_F(MacroXptMgrTargetTest, JoiningLogsItsSteps)
{
    m_sut.joinRouterPartition("0123456789abcdef");

    EXPECT_EQ(m_log.takeTexts(),
              (Lines{"INFO TopicMacroXptOutputVideoTarget joinRouterPartition(routerPartition '0123456789abcdef')",
                     "INFO TopicMacroXptOutputVideoTarget getDurableData for routerPartition '0123456789abcdef'",
                     "INFO Before waiting for historical data)", "INFO Back  waiting for historical data)"}));
}

TEST_F(MacroXptMgrTargetTest, JoiningWithoutStoredTargetsKeepsTheTable)
{
    m_sut.setLpr(5, 42, LPR_LOCKED, 1);

    m_sut.joinRouterPartition("R1");

    EXPECT_EQ(targetOf(5), "3: 4294967295 42 2");
    EXPECT_EQ(m_targets.take().size(), 0U);
}

TEST_F(MacroXptMgrTargetTest, EveryJoinWaitsForTheReadersOfItsWriterBeforeItPublishes)
{
    m_sut.joinRouterPartition("R1");
    m_sut.take(5, 7, 1, 2);
    const testsupport::BusCalls bus;
    const Lines aJoin{std::string("wait ") + targetTopic + " 150 ms", std::string("write ") + targetTopic};

    m_sut.joinRouterPartition("R1");
    EXPECT_EQ(ofTargets(bus.calls()), aJoin) << "waits, then publishes what it finds";
    m_sut.joinRouterPartition("R1");

    EXPECT_EQ(ofTargets(bus.calls()), (Lines{aJoin[0], aJoin[1], aJoin[0], aJoin[1]}));
}

TEST_F(MacroXptMgrTargetTest, ReaderThatDoesNotAnswerIsWarnedOfInEveryJoinAndTheJoinGoesOn)
{
    testsupport::BusCalls bus;
    bus.failAcknowledgments();

    for (int join = 0; join < 2; ++join)
    {
        m_sut.joinRouterPartition("R1");

        EXPECT_EQ(m_log.takeTexts(),
                  (Lines{"INFO TopicMacroXptOutputVideoTarget joinRouterPartition(routerPartition 'R1')",
                         "WARN TopicMacroXptOutputVideoTarget a reader has not answered the new writer within 150 ms",
                         "INFO TopicMacroXptOutputVideoTarget getDurableData for routerPartition 'R1'",
                         "INFO Before waiting for historical data)", "INFO Back  waiting for historical data)"}));
    }
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

TEST_F(MacroXptMgrTargetTest, HistoryThatDoesNotComeInTimeIsUsedAsFarAsItIsThere)
{
    EXPECT_EQ(MacroXptMgrTarget::usualHistoryTimeout, dds::core::Duration::from_secs(20));
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);
    m_sut.joinRouterPartition("R1"); // after this the take is part of the history
    MacroXptMgrTarget sut(m_apartment, memberTopic, maximum, maximum, targetTopic, dds::core::Duration::from_secs(0));

    sut.joinRouterPartition("R1");

    MacroXptOutput target;
    sut.getTarget(5, target.macroXptInput, target.lprState, target.lprId);
    EXPECT_EQ(target.macroXptInput, 7U);
    EXPECT_EQ(m_log.takeTexts().back(), "INFO Back  waiting for historical data)");
}

TEST_F(MacroXptMgrTargetTest, TargetsFoundOnJoiningAreStampedWithTheCurrentTimecode)
{
    // Another bridge of the partition keeps publishing while this one joins.
    std::atomic<bool> isDone = false;
    std::thread other([this, &isDone] {
        PeerWriter<MacroXptOutput> writer(m_peer, targetTopic, "R1", dds::core::policy::DurabilityKind::PERSISTENT);
        while (!isDone)
        {
            writer.write({.macroXptOutput = 5, .macroXptInput = 9, .when = 3, .lprId = 4, .lprState = LPR_LOCKED});
            writer.write({.macroXptOutput = maximum + 1, .macroXptInput = 9});
        }
    });

    const auto end = std::chrono::steady_clock::now() + testsupport::scaled(std::chrono::seconds(30));
    do
    {
        m_sut.joinRouterPartition("R1");
    } while (targetOf(5) == "3: 4294967295 0 0" && std::chrono::steady_clock::now() < end);
    isDone = true;
    other.join();

    EXPECT_EQ(targetOf(5), "3: 9 4 2");
    const std::string row = "              R1      5      9    00:01:17;22     4    locked\n";
    EXPECT_NE(m_sut.table(5, 5).find(row), std::string::npos) << m_sut.table(5, 5);
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
