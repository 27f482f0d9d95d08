#include "tools/korasim/EventScript.h"

#include "bustypes/TopicNames.h"
#include "buswrappers/TopicPub.h"
#include "tests/support/RouterRecord.h"
#include "tools/korasim/EventPrinter.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace korasim;

namespace
{

class EventScriptTest : public testing::Test
{
protected:
    testsupport::RecordedRouter m_router{RouterOptions{}};
    std::ostringstream m_out;
    std::ostringstream m_errors;
    std::vector<std::chrono::milliseconds> m_pauses;
    EventScript m_sut{m_router, m_out, m_errors, [this](std::chrono::milliseconds time) {
                          m_pauses.push_back(time);
                          return true;
                      }};
};

} // namespace

TEST_F(EventScriptTest, StatusCommandPublishesAndShowPrintsIt)
{
    m_sut.runLine("status video 3 7 9 protected 12");
    m_sut.runLine("status audio 1 4294967295");
    m_sut.runLine("show");

    EXPECT_EQ(m_out.str(), "video output 3 input 7 lprId 9 protected when 12\n"
                           "audio output 1 input none lprId 0 released when 0\n");
    EXPECT_EQ(m_errors.str(), "");
}

TEST_F(EventScriptTest, ErrorNamesTheLineAndTheScriptGoesOn)
{
    m_sut.runLine("# a comment");
    m_sut.runLine("");
    m_sut.runLine("blink");
    m_sut.runLine("status video 3");
    m_sut.runLine("status video 3 7 9 locked 0 more");
    m_sut.runLine("status video 3 7");

    EXPECT_EQ(m_errors.str(), "line 3: no such command: 'blink' (help lists them)\n"
                              "line 4: input is missing\n"
                              "line 5: 'more' is one word too many\n");
    EXPECT_EQ(m_sut.errorCount(), 3U);
    EXPECT_EQ(m_router.currentStatus(Signal::Video).size(), 1U);
}

TEST_F(EventScriptTest, BurstPublishesAStatusForEachOutput)
{
    m_sut.runLine("burst audio 10 5 3");

    const auto statuses = m_router.record().statuses(Signal::Audio);
    ASSERT_EQ(statuses.size(), 5U);
    EXPECT_EQ(statuses.front().macroXptOutput, 10U);
    EXPECT_EQ(statuses.back().macroXptOutput, 14U);
    EXPECT_EQ(statuses.back().macroXptInput, 3U);
    EXPECT_EQ(statuses.back().lprId, 0U);
}

TEST_F(EventScriptTest, BurstCarriesAHolderWhenOneIsGiven)
{
    m_sut.runLine("burst video 1 2 3 42");

    const auto statuses = m_router.record().statuses(Signal::Video);
    ASSERT_EQ(statuses.size(), 2U);
    EXPECT_EQ(statuses.back().lprId, 42U);
}

TEST_F(EventScriptTest, DisposedStatusIsShownNoMore)
{
    m_sut.runLine("status video 3 7");
    m_sut.runLine("dispose-status video 3");
    m_sut.runLine("show");

    EXPECT_EQ(m_out.str(), "");
    EXPECT_EQ(m_errors.str(), "");
}

TEST_F(EventScriptTest, EveryOtherCommandRunsWithoutAnError)
{
    for (const char* line :
         {"announce", "reannounce", "reannounce R2", "level 3 video 1 16 1 1 16 1", "dispose-level 3",
          "ranges video 1 1 16 1 16", "dispose-ranges video 1", "local-target audio 1 2 3 locked 4", "refuse video 1",
          "accept video 1", "follow off", "follow on", "delay 5", "dispose-member", "vanish", "announce"})
    {
        EXPECT_EQ(m_sut.runLine(line), EventScript::Outcome::GoOn) << line;
    }
    EXPECT_EQ(m_errors.str(), "");
}

TEST_F(EventScriptTest, WaitPausesAndWaitTargetGivesUp)
{
    m_sut.runLine("wait 250");
    EXPECT_EQ(m_pauses, std::vector{std::chrono::milliseconds(250)});

    m_sut.runLine("wait-target video 3 7 1");
    EXPECT_EQ(m_errors.str(), "line 2: no such target came in time\n");
}

TEST_F(EventScriptTest, WaitThatIsCutShortEndsTheProgram)
{
    EventScript sut(m_router, m_out, m_errors, [](std::chrono::milliseconds) { return false; });

    EXPECT_EQ(sut.runLine("wait 250"), EventScript::Outcome::Quit);
}

TEST_F(EventScriptTest, HelpListsEveryCommandAndQuitEnds)
{
    m_sut.runLine("help");

    for (const char* name :
         {"announce",      "reannounce", "dispose-member", "vanish",         "ranges",       "dispose-ranges", "level",
          "dispose-level", "status",     "burst",          "dispose-status", "local-target", "refuse",         "accept",
          "follow",        "delay",      "wait",           "wait-target",    "show",         "help",           "quit"})
    {
        EXPECT_NE(("\n" + m_out.str()).find("\n" + std::string(name)), std::string::npos) << name;
    }
    EXPECT_EQ(m_sut.runLine("quit"), EventScript::Outcome::Quit);
}

TEST_F(EventScriptTest, FollowTakesOnOrOffAlone)
{
    m_sut.runLine("follow maybe");

    EXPECT_EQ(m_errors.str(), "line 1: 'maybe' is neither on nor off\n");
}

TEST_F(EventScriptTest, WaitForATargetThatIsCutShortEndsTheProgram)
{
    EventScript sut(m_router, m_out, m_errors, [](std::chrono::milliseconds) { return false; });

    EXPECT_EQ(sut.runLine("wait-target video 3 7 60000"), EventScript::Outcome::Quit);
    EXPECT_EQ(m_errors.str(), "");
}

TEST_F(EventScriptTest, WaitForATargetGoesOnWhenItComes)
{
    com::tallowcrest::routing::TopicPub<com::tallowcrest::dds_::routing::MacroXptOutput> targets(
        com::tallowcrest::routing::topicName(com::tallowcrest::routing::TopicName::MacroXptOutputVideoTarget),
        dds::core::policy::DurabilityKind::TRANSIENT_LOCAL);
    m_sut.runLine("announce");
    targets.joinRouterPartition("R1");
    targets.write({.macroXptOutput = 3, .macroXptInput = 7});

    EXPECT_EQ(m_sut.runLine("wait-target video 3 7"), EventScript::Outcome::GoOn);

    EXPECT_EQ(m_errors.str(), "");
}

TEST(DescribeOutputTest, StateThatDoesNotExistIsShownAsItsNumber)
{
    com::tallowcrest::dds_::routing::MacroXptOutput sample;
    sample.macroXptOutput = 3;
    sample.lprState = static_cast<com::tallowcrest::dds_::routing::LPRState>(9);

    EXPECT_EQ(describeOutput(Signal::Video, sample), "video output 3 input 0 lprId 0 state 9 when 0");
}

TEST(LivenessTest, EachHasItsWord)
{
    EXPECT_STREQ(toString(Liveness::Alive), "alive");
    EXPECT_STREQ(toString(Liveness::NoWriters), "no writers");
    EXPECT_STREQ(toString(Liveness::Disposed), "disposed");
}
