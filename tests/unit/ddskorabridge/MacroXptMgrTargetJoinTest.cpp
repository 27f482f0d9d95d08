// Joins of a target manager, and what becomes known after them.
#include "MacroXptMgrTargetFixture.h"
#include "ddskorabridge/MacroXptMgrTarget.h"
#include "tests/support/BusCalls.h"
#include "tests/support/TimeFactor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace targetmgr;

namespace
{

using MacroXptMgrTargetJoinTest = MacroXptMgrTargetFixture;

TEST_F(MacroXptMgrTargetJoinTest, JoiningLogsItsSteps)
{
    join(m_sut, "0123456789abcdef");

    EXPECT_EQ(m_log.takeTexts(),
              (Lines{"INFO TopicMacroXptOutputVideoTarget joinRouterPartition(routerPartition '0123456789abcdef')",
                     "INFO TopicMacroXptOutputVideoTarget getDurableData for routerPartition '0123456789abcdef'",
                     "INFO Before waiting for historical data)", "INFO Back  waiting for historical data)"}));
}

TEST_F(MacroXptMgrTargetJoinTest, JoiningWithoutStoredTargetsKeepsTheTable)
{
    m_sut.setLpr(5, 42, LPR_LOCKED, 1);

    join(m_sut, "R1");

    EXPECT_EQ(targetOf(5), "3: 4294967295 42 2");
    EXPECT_EQ(m_targets.take().size(), 0U);
}

TEST_F(MacroXptMgrTargetJoinTest, JoiningAgainPublishesWhatWasTakenOnceTheReadersKnowTheWriter)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);
    EXPECT_EQ(published(m_targets, 1), Lines{"5 7 2 1 0"});

    for (int again = 0; again < 3; ++again)
    {
        join(m_sut, "R1");

        const Lines lines = published(m_targets, 1);
        ASSERT_EQ(lines.size(), 1U) << again;
        EXPECT_EQ(lines[0].substr(0, 4), "5 7 ");
    }
}

TEST_F(MacroXptMgrTargetJoinTest, ATakeWhileTheHistoryIsAwaitedIsDoneAndStays)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);
    m_sut.take(6, 7, 1, 2);
    published(m_targets, 2);

    bool isJoined = false;
    m_sut.beginToJoin("R1", [&isJoined] { isJoined = true; });
    EXPECT_EQ(m_sut.checkTake(5, 8, 0), 0U);
    m_sut.take(5, 8, 9, 3);
    ASSERT_TRUE(m_apartment->runUntil([&isJoined] { return isJoined; }));

    EXPECT_EQ(targetOf(5), "0: 8 9 0");
    EXPECT_EQ(targetOf(6), "0: 7 1 0");
    Lines last;
    EXPECT_TRUE(m_apartment->runUntil([&] {
        for (const MacroXptOutput& sample : m_targets.take())
        {
            last.push_back(text(sample).substr(0, 3));
        }
        return std::count(last.begin(), last.end(), "5 8") > 0 && std::count(last.begin(), last.end(), "6 7") > 0;
    }));
    EXPECT_EQ(std::count(last.begin(), last.end(), "5 7"), 0) << "nothing older is published";
}

TEST_F(MacroXptMgrTargetJoinTest, WhatIsTakenBeforeTheReadersKnowTheWriterIsPublishedOnceMore)
{
    joinOfferedRouter();
    bool isJoined = false;
    {
        testsupport::BusCalls bus;
        bus.failAcknowledgments();
        m_sut.beginToJoin("R1", [&isJoined] { isJoined = true; });
        m_sut.take(5, 8, 9, 3);
    }
    const testsupport::BusCalls bus; // from here on they confirm

    ASSERT_TRUE(m_apartment->runUntil([&isJoined] { return isJoined; }));

    const Lines calls = bus.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), std::string("write ") + targetTopic), 1);
}

TEST_F(MacroXptMgrTargetJoinTest, AJoinThatTheNextOneOvertakesIsNotReportedAsDone)
{
    bool isFirstJoined = false;
    m_sut.beginToJoin("R1", [&isFirstJoined] { isFirstJoined = true; });

    join(m_sut, "R2");

    EXPECT_FALSE(isFirstJoined);
}

TEST_F(MacroXptMgrTargetJoinTest, WhatIsOlderThanTheTableIsNeitherStoredNorPublished)
{
    joinOfferedRouter();
    m_sut.onDurableTarget({.macroXptOutput = 5, .macroXptInput = 9}, later);
    published(m_targets, 1);

    m_sut.onDurableTarget({.macroXptOutput = 5, .macroXptInput = 8}, later - 1);
    m_sut.onDurableTarget({.macroXptOutput = 6, .macroXptInput = 8}, later - 1);

    EXPECT_EQ(published(m_targets, 1), Lines{"6 8 0 0 0"});
    EXPECT_EQ(targetOf(5), "0: 9 0 0");
}

TEST_F(MacroXptMgrTargetJoinTest, TimesOfOnePartitionDoNotCountInAnother)
{
    joinOfferedRouter();
    m_sut.onDurableTarget({.macroXptOutput = 5, .macroXptInput = 9}, later);

    join(m_sut, "R2");
    m_sut.onDurableTarget({.macroXptOutput = 5, .macroXptInput = 8}, later - 1);

    MacroXptOutput target;
    m_sut.getTarget(5, target.macroXptInput, target.lprState, target.lprId);
    EXPECT_EQ(target.macroXptInput, 8U);
}

TEST_F(MacroXptMgrTargetJoinTest, WhatIsLearntLateGoesIntoTheTableOnly)
{
    joinOfferedRouter();
    m_sut.take(5, 7, 1, 2);
    published(m_targets, 1);

    m_sut.onKept({.purpose = Purpose::Adopt,
                  .outputs = {{.sample = {.macroXptOutput = 5, .macroXptInput = 9, .lprId = 4}, .written = later},
                              {.sample = {.macroXptOutput = 6, .macroXptInput = 9, .lprId = 4}, .written = later}}});

    EXPECT_EQ(targetOf(5), "0: 9 4 0");
    EXPECT_EQ(targetOf(6), "0: 9 4 0");
    EXPECT_TRUE(m_targets.take().empty()) << "whoever learnt it has published it";
}

TEST_F(MacroXptMgrTargetJoinTest, WhatIsToBeRepeatedIsPublishedUnlessTheTableHasSomethingLater)
{
    joinOfferedRouter();
    m_sut.onDurableTarget({.macroXptOutput = 5, .macroXptInput = 7}, later);
    published(m_targets, 1);

    m_sut.onKept({.purpose = Purpose::Repeat,
                  .outputs = {{.sample = {.macroXptOutput = 5, .macroXptInput = 8}, .written = later - 1},
                              {.sample = {.macroXptOutput = 6, .macroXptInput = 9}, .written = later}}});

    const Lines lines = published(m_targets, 1);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].substr(0, 4), "6 9 ");
    EXPECT_EQ(targetOf(6), "3: 4294967295 0 0") << "the table is its own";
}

TEST_F(MacroXptMgrTargetJoinTest, ReaderThatDoesNotAnswerIsWarnedOfInEveryJoinAndTheJoinGoesOn)
{
    testsupport::BusCalls bus;
    bus.failAcknowledgments();

    for (int i = 0; i < 2; ++i)
    {
        join(m_sut, "R1");

        EXPECT_EQ(
            m_log.takeTexts(),
            (Lines{"INFO TopicMacroXptOutputVideoTarget joinRouterPartition(routerPartition 'R1')",
                   "INFO TopicMacroXptOutputVideoTarget getDurableData for routerPartition 'R1'",
                   "INFO Before waiting for historical data)", "INFO Back  waiting for historical data)",
                   "WARN TopicMacroXptOutputVideoTarget a reader has not answered the new writer within 150 ms"}));
    }
}

TEST_F(MacroXptMgrTargetJoinTest, MoreMembersThanAnyRouterHasAreIgnoredAndToldOf)
{
    RouterMemberMacroXpts member = wholeRouter;
    for (member.memberIndex = 0; member.memberIndex < MacroXptAvailable::mostMembers; ++member.memberIndex)
    {
        m_members.write(member);
    }
    join(m_sut, "R1");
    const auto added = [this] { return m_log.countHolding("addRouterMemberMacroXpts"); };
    ASSERT_TRUE(m_apartment->runUntil([&] { return added() == MacroXptAvailable::mostMembers; })) << added();
    PeerWriter<RouterMemberMacroXpts> another{m_peer, memberTopic, "R2"};
    another.write(member);

    join(m_sut, "R2");

    const std::string line = "WARN TopicMacroXptOutputVideoTarget router member 256 ignored: there are 256";
    EXPECT_TRUE(m_apartment->runUntil([&] { return m_log.count(line) == 1; }));
    EXPECT_EQ(added(), MacroXptAvailable::mostMembers);
}

TEST_F(MacroXptMgrTargetJoinTest, TargetsFoundOnJoiningAreStampedWithTheCurrentTimecode)
{
    joinOfferedRouter();
    m_sut.setLpr(5, 4, LPR_LOCKED, 3);
    m_sut.take(5, 9, 4, 3);

    join(m_sut, "R1");

    EXPECT_EQ(targetOf(5), "0: 9 4 2");
    const std::string row = "              R1      5      9    00:01:17;22     4    locked\n";
    EXPECT_NE(m_sut.table(5, 5).find(row), std::string::npos) << m_sut.table(5, 5);
}

} // namespace
