#include "tools/koractl/doctor/ConsoleText.h"
#include "tools/koractl/doctor/LogTail.h"
#include "tools/koractl/doctor/MetricsText.h"
#include "tools/koractl/doctor/UnitProbe.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using namespace koractl;
using namespace std::chrono_literals;

namespace
{

LogFacts log(const std::string& text)
{
    std::istringstream lines(text);
    return readLog(lines);
}

MetricsFacts metrics(const std::string& text)
{
    std::istringstream lines(text);
    return readMetrics(lines);
}

const std::string firstLine = "2026-11-22 19:00:00,000 INFO  (Director.cpp:70) - korabridge 2.7.1, DDS library 0.10.2, "
                              "configuration file:///c.xml, store /s.db\n";
const std::string before = "2026-11-22 19:00:01,000 WARN  (Some.cpp:1) - ";

} // namespace

TEST(LogTail, GivenAStartKnowsItsVersionAndThatItHasNotJoined)
{
    const LogFacts facts = log(firstLine);

    EXPECT_EQ(facts.version, "2.7.1");
    EXPECT_EQ(facts.isConnected, false);
}

TEST(LogTail, GivenNoStartKnowsNeither)
{
    const LogFacts facts = log(before + "accepted tcp connection from 10.0.0.1, fd = 9\n");

    EXPECT_EQ(facts.version, "");
    EXPECT_EQ(facts.isConnected, std::nullopt);
}

TEST(LogTail, KnowsWhetherTheBridgeIsConnected)
{
    EXPECT_EQ(log(firstLine + before + "connected to router\n").isConnected, true);
    EXPECT_EQ(log(firstLine + before + "connected to router\n" + before + "not connected to router\n").isConnected,
              false);
}

TEST(LogTail, ForgetsWhatWasBeforeTheLastStart)
{
    const LogFacts facts =
        log(before + "Durable store /s.db cannot be written: disk full; targets are not kept until it can\n" +
            "2026-11-22 19:00:01,000 ERROR (Some.cpp:1) - Apartment event failed, out of luck\n" + firstLine);

    EXPECT_EQ(facts.storeTrouble, "");
    EXPECT_EQ(facts.errors, 0U);
}

TEST(LogTail, KeepsTroubleWhileItLasts)
{
    struct Pair
    {
        std::string LogFacts::*kept;
        std::string sign;
        std::string end; ///< empty: nothing ends it
    };
    for (const Pair& each :
         {Pair{&LogFacts::storeTrouble,
               "Durable store /s.db cannot be written: full; targets are not kept until it can",
               "Durable store /s.db: in use again"},
          Pair{&LogFacts::storeTrouble,
               "Durable store /s.db cannot be opened, foreign; it stays as it is and targets "
               "are not kept",
               ""},
          Pair{&LogFacts::portTaken, "failed binding socket 9 to address/port 0.0.0.0, Address already in use",
               "bind IP addr 0x0 (0.0.0.0) Port: 5194 Socket 9"},
          Pair{&LogFacts::failedJoin, "joining router partition 'R1' failed and is tried again: no memory",
               "connected to router"},
          Pair{&LogFacts::lackOfResources, "not enough resources to start: descriptors; checking again every second",
               "Starting korabridge, koraBridgeId 3, koraBridgeName x"},
          Pair{&LogFacts::silentNeighbours,
               "Durable topic T in R1: 1 other bridges are silent and no longer waited for", ""},
          Pair{&LogFacts::refusedTargets, "Durable topic T in R1: 3 targets of others are refused", ""},
          Pair{&LogFacts::slowReader, "T a reader has not answered the new writer within 150 ms", ""}})
    {
        SCOPED_TRACE(each.sign);
        EXPECT_EQ(log(firstLine + before + each.sign + "\n").*each.kept, each.sign);
        if (!each.end.empty())
        {
            EXPECT_EQ(log(firstLine + before + each.sign + "\n" + before + each.end + "\n").*each.kept, "");
        }
    }
}

TEST(LogTail, ConsolesPortDoesNotEndTheTroubleWithTheControllers)
{
    const LogFacts facts = log(firstLine + before + "failed binding socket 9 to address/port 0.0.0.0, in use\n" +
                               before + "bind IP addr 0x0 (0.0.0.0) Port: 8882 Socket 9\n");

    EXPECT_NE(facts.portTaken, "");
}

TEST(LogTail, CountsErrorsAndShowsTheLastWithoutWhatATerminalWouldObey)
{
    const LogFacts facts = log(firstLine + "2026-11-22 19:00:01,000 ERROR (Some.cpp:1) - first\n" +
                               "2026-11-22 19:00:02,000 ERROR (Some.cpp:1) - last \x1b[2J\n");

    EXPECT_EQ(facts.errors, 2U);
    EXPECT_EQ(facts.lastError, "last \\x1b[2J");
}

TEST(LogTail, ReadsTheJsonLayoutToo)
{
    const auto line = [](const std::string& level, const std::string& message) {
        return R"({ "timestamp": "2026-11-22 19:00:00,000", "level": ")" + level +
               R"(", "logger": "KORABRIDGE", "message": ")" + message + R"(", "location_info": { "file": "S.cpp" } })" +
               "\n";
    };

    const LogFacts facts = log(line("INFO", "korabridge 2.7.1, DDS library 0.10.2, store /s.db") +
                               line("INFO", "connected to router") + line("ERROR", R"(a \"word\")") +
                               line("WARN", "failed binding socket 9 to address/port 0.0.0.0, in use") + "\n{ cut");

    EXPECT_EQ(facts.version, "2.7.1");
    EXPECT_EQ(facts.isConnected, true);
    EXPECT_EQ(facts.errors, 1U);
    EXPECT_EQ(facts.lastError, "a \"word\"");
    EXPECT_EQ(facts.portTaken, "failed binding socket 9 to address/port 0.0.0.0, in use");
}

TEST(MetricsText, TakesWhatTheDoctorLooksAt)
{
    const MetricsFacts facts = metrics("# HELP korabridge_build_info The version of the bridge.\n"
                                       "korabridge_build_info{version=\"2.7.1\"} 1\n"
                                       "korabridge_controllers_connected 3\n"
                                       "korabridge_store_usable 1\n"
                                       "korabridge_join_seconds_bucket{le=\"0.1\"} 7\n"
                                       "korabridge_join_seconds_count 2\n"
                                       "korabridge_target_readers_matched{signal=\"video\"} 2\n"
                                       "korabridge_target_readers_matched{signal=\"audio\"} 1\n"
                                       "korabridge_neighbours 1\n"
                                       "korabridge_gate_dropped_total{reason=\"time\"} 2\n"
                                       "korabridge_gate_dropped_total{reason=\"text\"} 3\n"
                                       "process_resident_memory_bytes 14000000\n");

    EXPECT_EQ(facts.version, "2.7.1");
    EXPECT_EQ(facts.controllers, 3);
    EXPECT_EQ(facts.storeUsable, 1);
    EXPECT_EQ(facts.joins, 2);
    EXPECT_EQ(facts.readersMatched, 1) << "the topic that has the fewest";
    EXPECT_EQ(facts.neighbours, 1);
    EXPECT_EQ(facts.gateDropped, 5);
}

TEST(MetricsText, KnowsNothingOfWhatIsMissingOrMakesNoSense)
{
    const MetricsFacts facts = metrics("korabridge_store_usable\nkorabridge_neighbours two\n"
                                       "korabridge_controllers_connected 1x\nkorabridge_join_seconds_count NaN\n"
                                       "korabridge_gate_dropped_total 1e999\n\nkorabridge_build_info 1\n");

    EXPECT_EQ(facts.version, "");
    EXPECT_EQ(facts.controllers, std::nullopt);
    EXPECT_EQ(facts.storeUsable, std::nullopt);
    EXPECT_EQ(facts.joins, std::nullopt);
    EXPECT_EQ(facts.readersMatched, std::nullopt);
    EXPECT_EQ(facts.neighbours, std::nullopt);
    EXPECT_EQ(facts.gateDropped, std::nullopt);
}

TEST(ConsoleText, TableTellsThePartition)
{
    const std::string head = "\n--------- Video Crosspoints Target ---------\n\n"
                             "routerPartition  Output  Input      When      LprId  LprState\n"
                             "---------------- ------ ------ -------------- ----- ---------\n";

    EXPECT_EQ(partitionOf(head + "              R1      1     -1    **:**:**:**     0  released\n"), "R1");
    EXPECT_EQ(partitionOf(head + "                      1     -1    **:**:**:**     0  released\n"), "");
    EXPECT_EQ(partitionOf("The bridge is busy, try again.\n"), std::nullopt);
    EXPECT_EQ(partitionOf(head), std::nullopt);
}

TEST(ConsoleText, CountsConnectionsAndNothingElse)
{
    EXPECT_EQ(controllersOf("\nEnter selection: \nclientFd         Ip Addr\n-------- ---------------\n"
                            "      23 127.000.000.001\n               ----- Unexpected Protocols -----\n"
                            "      24 127.000.000.001\n\nCommands of clientFd 23\n----- Unhandled Cmds -----\n"
                            "                      5 0x00000053 ermcGetOutputChanges\n"),
              2U);
    EXPECT_EQ(controllersOf("clientFd         Ip Addr\n-------- ---------------\n"), 0U);
    EXPECT_EQ(controllersOf("clientFd         Ip Addr\n\nEnter selection:       23 127.000.000.001\n"
                            "      24 127.000.000.001\n127.000.000.001\n"),
              2U)
        << "the menu is printed meanwhile";
    EXPECT_EQ(controllersOf("\nEnter selection: "), std::nullopt);
}

TEST(UnitText, PropertiesAreRead)
{
    const UnitFacts facts = readUnit("Result=watchdog\nNRestarts=4\nLoadState=loaded\nActiveState=activating\n"
                                     "StatusText=joined R1, 3 controllers, a=b\nOther=1\n");

    EXPECT_TRUE(facts.isLoaded);
    EXPECT_EQ(facts.active, "activating");
    EXPECT_EQ(facts.result, "watchdog");
    EXPECT_EQ(facts.restarts, 4U);
    EXPECT_EQ(facts.status, "joined R1, 3 controllers, a=b");
    EXPECT_FALSE(readUnit("LoadState=not-found\nActiveState=inactive\n").isLoaded);
    EXPECT_FALSE(readUnit("").isLoaded);
}
