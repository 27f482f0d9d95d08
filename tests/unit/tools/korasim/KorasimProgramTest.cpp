#include "bustypes/TopicNames.h"
#include "buswrappers/TopicPub.h"
#include "tests/support/ChildProcess.h"
#include "tests/unit/tools/korasim/BusCollector.h"

#include <gtest/gtest.h>

#include <csignal>

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicName;
using testsupport::ChildProcess;
using testsupport::programPath;

TEST(KorasimProgramTest, HelpAndVersionEndWithZero)
{
    ChildProcess help(programPath("korasim"), {"--help"});
    ChildProcess version(programPath("korasim"), {"--version"});

    EXPECT_EQ(help.waitForExit(), 0);
    EXPECT_EQ(version.waitForExit(), 0);
    EXPECT_NE(help.output().find("--status-delay"), std::string::npos);
    EXPECT_EQ(version.output().rfind("korasim ", 0), 0U);
}

TEST(KorasimProgramTest, BadOptionEndsWithAComplaint)
{
    ChildProcess sut(programPath("korasim"), {"--level", "3,foo"});

    EXPECT_EQ(sut.waitForExit(), 2);
    EXPECT_NE(sut.errors().find("'foo' is neither video nor audio"), std::string::npos);
}

TEST(KorasimProgramTest, FollowsTargetsAndPrintsThem)
{
    ChildProcess sut(programPath("korasim"), {"--partition", "P2", "--refuse", "video:4"});
    ASSERT_TRUE(sut.waitForOutput("announced frame 17 in partition 'P2'"));
    com::tallowcrest::routing::TopicPub<MacroXptOutput> targets(topicName(TopicName::MacroXptOutputVideoTarget),
                                                                dds::core::policy::DurabilityKind::TRANSIENT_LOCAL);
    targets.joinRouterPartition("P2");
    BusCollector<MacroXptOutput> status(topicName(TopicName::MacroXptOutputVideoStatus), "P2");

    targets.write({.macroXptOutput = 4, .macroXptInput = 1});
    targets.write({.macroXptOutput = 3, .macroXptInput = 7, .lprId = 9, .lprState = LPR_LOCKED});

    EXPECT_TRUE(status.waitFor([](const auto& sample) { return sample.macroXptOutput == 3; }));
    EXPECT_TRUE(sut.waitForOutput("target video output 3 input 7 lprId 9 locked when 0\n"));
    EXPECT_TRUE(sut.waitForOutput("status video output 3 input 7 lprId 9 locked when 0\n"));
    EXPECT_TRUE(sut.waitForOutput("target video output 4 input 1 lprId 0 released when 0 (refused)\n"));
    EXPECT_EQ(sut.output().find("status video output 4"), std::string::npos);
}

TEST(KorasimProgramTest, EndOfScriptKeepsRunningUntilASignal)
{
    for (const int signal : {SIGTERM, SIGINT})
    {
        ChildProcess sut(programPath("korasim"), {});
        sut.write("status video 1 2\nnonsense\nstatus video 5 6");
        sut.closeInput();
        ASSERT_TRUE(sut.waitForOutput("status video output 5 input 6")) << "a last line without an end counts";
        EXPECT_TRUE(sut.waitForErrors("line 2: no such command: 'nonsense' (help lists them)"));
        EXPECT_FALSE(
            sut.waitForExit(std::chrono::milliseconds(500))); // what has seen the end of the script has had time to end

        sut.signal(signal);

        EXPECT_EQ(sut.waitForExit(), 0);
    }
}

TEST(KorasimProgramTest, SignalEndsItDuringALongWait)
{
    ChildProcess sut(programPath("korasim"), {});
    sut.write("status video 1 2\nwait 600000\n");
    ASSERT_TRUE(sut.waitForOutput("status video output 1"));

    sut.signal(SIGINT);

    EXPECT_EQ(sut.waitForExit(), 0);
}

TEST(KorasimProgramTest, ExitAtEofEndsWithTheScript)
{
    ChildProcess sut(programPath("korasim"), {"--exit-at-eof", "--silent"});
    sut.write("show\n");
    sut.closeInput();

    EXPECT_EQ(sut.waitForExit(), 0);
    EXPECT_EQ(sut.output(), "");
}

TEST(KorasimProgramTest, ExitAtEofTellsThatALineOfTheScriptFailed)
{
    for (const std::string end : {"", "quit\n"})
    {
        ChildProcess sut(programPath("korasim"), {"--exit-at-eof", "--silent"});
        sut.write("nonsense\nshow\n" + end);
        sut.closeInput();

        EXPECT_EQ(sut.waitForExit(), 1) << end;
    }
}
