#include "tools/koractl/CommandLine.h"

#include "tests/support/TempDir.h"
#include "tests/unit/tools/koractl/FakeRouter.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

namespace
{

struct Outcome
{
    int status;
    std::string out;
    std::string err;
};

Outcome run(const std::vector<std::string>& arguments)
{
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    const int status = koractl::runCommandLine(arguments, {.in = in, .out = out, .err = err});
    return {status, out.str(), err.str()};
}

/// Runs a command against the fake bridge.
Outcome runAt(const FakeBridge& bridge, std::vector<std::string> arguments)
{
    const std::vector<std::string> where{"--port", std::to_string(bridge.port()), "--timeout", "10s"};
    arguments.insert(arguments.begin(), where.begin(), where.end());
    return run(arguments);
}

class CommandLine : public testing::Test
{
protected:
    FakeBridge m_bridge{FakeRouter()};
};

} // namespace

TEST_F(CommandLine, TakeExits1WhenAnEntryIsRefusedAnd0WhenAllAreDone)
{
    const auto outcome = runAt(m_bridge, {"take", "--lpr-id", "9", "1:2:3", "1:4:5000", "1:900:3"});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "LEVEL  INPUT  OUTPUT  RESULT\n"
                           "    1      2       3  done\n"
                           "    1      4    5000  output 5000 is not on level 1 or not available\n"
                           "    1    900       3  input 900 is not on level 1 or not available\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(m_bridge.requests().at(0).word(24), 9U);
    EXPECT_EQ(runAt(m_bridge, {"take", "1:2:3", "1:4:1"}).status, 0);
}

TEST_F(CommandLine, TakeRefusedByLockOrProtectionNamesTheHolder)
{
    const auto outcome = runAt(m_bridge, {"take", "--lpr-id", "9", "1:2:5", "1:2:6"});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "LEVEL  INPUT  OUTPUT  RESULT\n"
                           "    1      2       5  output 5 is locked by 50\n"
                           "    1      2       6  output 6 is protected by 60\n");
}

TEST_F(CommandLine, CoherentTakeSendsOneMessageOfItsOwnId)
{
    const auto outcome = runAt(m_bridge, {"--json", "coherent-take", "1:2:3", "1:2:4"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out.find(R"({"command":"coherent-take","done":true,"entries":[)"), 0U) << outcome.out;
    ASSERT_EQ(m_bridge.requests().size(), 1U);
    EXPECT_EQ(m_bridge.requests().front().id(), 0x55U);
}

TEST_F(CommandLine, TakeOfMoreEntriesThanFitAMessageSendsSeveral)
{
    std::vector<std::string> arguments{"take"};
    arguments.insert(arguments.end(), 511, "1:2:3");

    const auto outcome = runAt(m_bridge, arguments);

    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 512);
    EXPECT_EQ(m_bridge.requests().size(), 2U);
}

TEST_F(CommandLine, CoherentTakeOfMoreEntriesThanFitAMessageIsAUsageError)
{
    std::vector<std::string> arguments{"coherent-take"};
    arguments.insert(arguments.end(), 511, "1:2:3");

    const auto outcome = runAt(m_bridge, arguments);

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "koractl: 511 entries do not fit a message; at most 510 do\n");
}

TEST_F(CommandLine, LockProtectReleaseSendTheirCodes)
{
    EXPECT_EQ(runAt(m_bridge, {"lock", "1:1", "--lpr-id", "50"}).status, 0);
    EXPECT_EQ(runAt(m_bridge, {"protect", "1:1", "--lpr-id", "50"}).status, 0);
    EXPECT_EQ(runAt(m_bridge, {"release", "1:1", "--lpr-id", "50"}).status, 0);
    EXPECT_EQ(runAt(m_bridge, {"release", "--force", "1:5", "--lpr-id", "7"}).status, 0);

    const auto requests = m_bridge.requests();
    ASSERT_EQ(requests.size(), 4U);
    EXPECT_EQ(requests[0].words(), (std::vector<std::uint32_t>{12, 1, 36, 0x51, 1, 1, 1, 1, 50}));
    EXPECT_EQ(requests[1].word(28), 2U);
    EXPECT_EQ(requests[2].word(28), 0U);
    EXPECT_EQ(requests[3].words(), (std::vector<std::uint32_t>{12, 1, 36, 0x51, 1, 1, 5, 16, 7}));
}

TEST_F(CommandLine, ReleaseByAStrangerIsRefusedWithTheHolder)
{
    const auto outcome = runAt(m_bridge, {"release", "1:5", "1:1", "--lpr-id", "7"});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "LEVEL  OUTPUT  LPR-ID  RESULT\n"
                           "    1       5       7  output 5 is locked by 50\n"
                           "    1       1       7  done\n");
}

TEST_F(CommandLine, TallyShowsInputs)
{
    const auto outcome = runAt(m_bridge, {"tally", "1", "6", "3"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "LEVEL  OUTPUT  INPUT  RESULT\n"
                           "    1       6      6  ok\n"
                           "    1       7      -  no route\n"
                           "    1       8      8  ok\n");
}

TEST_F(CommandLine, TallyOfMoreOutputsThanAMessageCarriesAsksOn)
{
    const auto outcome = runAt(m_bridge, {"--json", "tally", "1", "0", "1030"});

    EXPECT_EQ(outcome.status, 1); // only ten outputs exist
    const auto json = nlohmann::json::parse(outcome.out);
    ASSERT_EQ(json["entries"].size(), 1030U);
    EXPECT_EQ(json["entries"][1029]["output"], 1029);
    ASSERT_EQ(m_bridge.requests().size(), 2U);
    EXPECT_EQ(m_bridge.requests()[1].word(20), 1020U);
    EXPECT_EQ(m_bridge.requests()[1].word(24), 10U);
}

TEST_F(CommandLine, StatusShowsLockStates)
{
    const auto outcome = runAt(m_bridge, {"status", "1", "4", "4"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "LEVEL  OUTPUT  INPUT  STATE            RESULT\n"
                           "    1       4      4  released         ok\n"
                           "    1       5      5  locked by 50     ok\n"
                           "    1       6      6  protected by 60  ok\n"
                           "    1       7      -  released         no route\n");
}

TEST_F(CommandLine, StatusOfFormat1HasNoLockStates)
{
    const auto outcome = runAt(m_bridge, {"status", "1", "5", "1", "--format", "1"});

    EXPECT_EQ(outcome.out, "LEVEL  OUTPUT  INPUT  RESULT\n    1       5      5  ok\n");
}

TEST_F(CommandLine, StatusOfUnknownLevelIsRefused)
{
    const auto outcome = runAt(m_bridge, {"status", "9", "5", "1"});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("level 9 does not exist"), std::string::npos) << outcome.out;
}

TEST_F(CommandLine, ChangesShowsWhatChanged)
{
    const auto outcome = runAt(m_bridge, {"changes", "1"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "LEVEL  OUTPUT  INPUT  STATE         RESULT\n"
                           "    1       1      1  released      ok\n"
                           "    1       5      5  locked by 50  ok\n");
}

TEST_F(CommandLine, ChangesOfAQuietLevelSaysSo)
{
    (void)runAt(m_bridge, {"changes", "1"});

    const auto outcome = runAt(m_bridge, {"changes", "1"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "no changes on level 1\n");
}

TEST_F(CommandLine, ChangesOfUnknownLevelIsRefused)
{
    const auto outcome = runAt(m_bridge, {"changes", "9"});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "level 9 does not exist\n");
}

TEST_F(CommandLine, ChangesOfUnknownLevelSaysSoInJsonToo)
{
    const auto outcome = runAt(m_bridge, {"--json", "changes", "9"});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, R"({"command":"changes","done":false,"level":9,"format":2,"complete":true,)"
                           R"("text":"level 9 does not exist","entries":[]})"
                           "\n");
}

TEST_F(CommandLine, PlainQueriesExit0)
{
    EXPECT_EQ(runAt(m_bridge, {"partition"}).status, 0);
    EXPECT_EQ(runAt(m_bridge, {"port"}).status, 0);
    EXPECT_EQ(runAt(m_bridge, {"system"}).status, 0);
    EXPECT_EQ(runAt(m_bridge, {"card", "3"}).status, 0);
    EXPECT_EQ(m_bridge.requests().back().word(16), 3U);
}

TEST_F(CommandLine, RawIdAndPayloadGetAHeader)
{
    const auto outcome = runAt(m_bridge, {"raw", "a2", "ff", "--tag", "0x77"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(m_bridge.requests().at(0).words(), (std::vector<std::uint32_t>{12, 0x77, 20, 0xa2, 0xff}));
    EXPECT_EQ(outcome.out.find("message 0x800000a2, 40 bytes\n"), 0U) << outcome.out;
}

TEST_F(CommandLine, RawWholeMessageAndBytesGoAsTheyAre)
{
    EXPECT_EQ(runAt(m_bridge, {"raw", "--message", "c", "5", "10", "4000"}).status, 0);
    EXPECT_EQ(runAt(m_bridge, {"raw", "--bytes", "0000000c 00000006", "00:00:00:10", "00004000"}).status, 0);

    EXPECT_EQ(m_bridge.requests().at(0).words(), (std::vector<std::uint32_t>{12, 5, 16, 0x4000}));
    EXPECT_EQ(m_bridge.requests().at(1).words(), (std::vector<std::uint32_t>{12, 6, 16, 0x4000}));
}

TEST_F(CommandLine, RawAnsweredWithTheErrorResponseExits1)
{
    const auto outcome = runAt(m_bridge, {"raw", "99"});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("message 0x80000000, 24 bytes"), std::string::npos) << outcome.out;
}

TEST_F(CommandLine, RawWithoutResponsesOnlySends)
{
    const auto outcome = runAt(m_bridge, {"raw", "--responses", "0", "4000"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "sent\n");
}

TEST_F(CommandLine, GlobalOptionsMayFollowTheCommand)
{
    const auto outcome = runAt(m_bridge, {"port", "--json"});

    EXPECT_EQ(outcome.out, "{\"command\":\"port\",\"done\":true,\"words\":[0]}\n");
}

TEST_F(CommandLine, GivenOutputThatCannotBeWrittenExits3)
{
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    out.setstate(std::ios::badbit);

    const int status = koractl::runCommandLine({"--port", std::to_string(m_bridge.port()), "port"},
                                               {.in = in, .out = out, .err = err});

    EXPECT_EQ(status, 3);
    EXPECT_EQ(err.str(), "koractl: the output could not be written\n");
}

TEST_F(CommandLine, GivenWatchWhoseOutputCannotBeWrittenExits3)
{
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    out.setstate(std::ios::badbit);

    const int status = koractl::runCommandLine({"--port", std::to_string(m_bridge.port()), "watch", "1"},
                                               {.in = in, .out = out, .err = err});

    EXPECT_EQ(status, 3);
    EXPECT_EQ(err.str(), "koractl: the output could not be written\n");
}

TEST(CommandLineTrouble, GivenNobodyListeningExits3)
{
    std::uint16_t port = 0;
    {
        const FakeBridge gone{FakeRouter()};
        port = gone.port();
    }

    const auto outcome = run({"--port", std::to_string(port), "port"});

    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "koractl: cannot connect to 127.0.0.1 port " + std::to_string(port) + ": Connection refused\n");
}

TEST(CommandLineTrouble, GivenSilentBridgeExits3AfterTheTimeout)
{
    FakeBridge bridge([](const koraclient::Message&, std::uint32_t) { return FakeReply{}; });

    const auto outcome = run({"--port", std::to_string(bridge.port()), "--timeout", "50ms", "port"});

    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "koractl: the bridge did not answer in time\n");
}

TEST(CommandLineTrouble, GivenBridgeThatClosesExits3)
{
    FakeBridge bridge([](const koraclient::Message&, std::uint32_t) { return FakeReply{{}, true}; });

    const auto outcome = runAt(bridge, {"watch", "1"});

    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "koractl: the bridge closed the connection\n");
}

TEST(CommandLineTrouble, GivenBridgeThatClosesAfterItsAnswerStillShowsTheAnswer)
{
    for (const std::string command : {"take", "lock"})
    {
        FakeRouter router;
        FakeBridge bridge([&router](const koraclient::Message& request, std::uint32_t sequence) {
            return FakeReply{router(request, sequence).bytes, true};
        });

        const auto outcome = command == "take" ? runAt(bridge, {"take", "1:2:3", "1:2:5"})
                                               : runAt(bridge, {"lock", "1:3", "1:5", "--lpr-id", "7"});

        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.out.find("done\n"), std::string::npos) << outcome.out;
        EXPECT_NE(outcome.out.find("  output 5 is locked\n"), std::string::npos) << outcome.out;
        EXPECT_EQ(outcome.err, "");
    }
}

TEST(CommandLineTrouble, GivenBridgeThatLeavesBetweenMessagesShowsWhatWasAnswered)
{
    for (const std::string command : {"take", "lock"})
    {
        FakeRouter router;
        FakeBridge bridge([&router](const koraclient::Message& request, std::uint32_t sequence) {
            return sequence == 0 ? router(request, sequence) : FakeReply{{}, true};
        });
        std::vector<std::string> arguments{command};
        arguments.insert(arguments.end(), 1021, command == "take" ? "1:2:3" : "1:3");

        const auto text = runAt(bridge, arguments);
        arguments.emplace_back("--json");
        const auto json = runAt(bridge, arguments);

        EXPECT_EQ(text.status, 3);
        EXPECT_EQ(text.err, "koractl: the bridge closed the connection\n");
        std::map<std::string, int> counts;
        std::istringstream lines(text.out);
        for (std::string line; std::getline(lines, line);)
        {
            ++counts[line.substr(std::min<std::size_t>(line.size(), command == "take" ? 22 : 23))];
        }
        EXPECT_EQ(counts["done"], 510);
        EXPECT_EQ(counts["no answer; it may have been done"], 510);
        EXPECT_EQ(counts["not sent"], 1);
        EXPECT_EQ(json.status, 3);
        const auto entries = nlohmann::json::parse(json.out)["entries"];
        EXPECT_EQ(entries[509]["result"], 0);
        EXPECT_TRUE(entries[510]["result"].is_null());
        EXPECT_EQ(entries[510]["done"], false);
        EXPECT_EQ(entries[1020]["text"], "not sent");
    }
}

TEST_F(CommandLine, LatencyRepeatsTheRequestAndShowsPercentiles)
{
    const auto text = runAt(m_bridge, {"port", "--latency", "25"});
    const auto json = runAt(m_bridge, {"--json", "take", "--latency", "3", "1:2:3"});

    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.out.find("25 requests in "), 0U) << text.out;
    EXPECT_NE(text.out.find("  P99.9"), std::string::npos) << text.out;
    EXPECT_EQ(m_bridge.requests().size(), 28U);
    const auto parsed = nlohmann::json::parse(json.out);
    EXPECT_EQ(parsed["requests"], 3);
    EXPECT_TRUE(parsed["done"].get<bool>());
    EXPECT_GT(parsed["milliseconds"]["min"], 0);
    EXPECT_LE(parsed["milliseconds"]["min"], parsed["milliseconds"]["p50"]);
    EXPECT_LE(parsed["milliseconds"]["p50"], parsed["milliseconds"]["max"]);
}

TEST_F(CommandLine, LatencyOfRefusedRequestsExits1)
{
    EXPECT_EQ(runAt(m_bridge, {"take", "--latency", "2", "1:2:900"}).status, 1);
}

TEST(CommandLineTrouble, GivenBridgeThatLeavesWhileMeasuredShowsTheTimesSoFar)
{
    FakeRouter router;
    FakeBridge bridge([&router](const koraclient::Message& request, std::uint32_t sequence) {
        return sequence < 4 ? router(request, sequence) : FakeReply{{}, true};
    });

    const auto outcome = runAt(bridge, {"port", "--latency", "100"});

    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out.find("4 requests in "), 0U) << outcome.out;
    EXPECT_EQ(outcome.err, "koractl: the bridge closed the connection\n");
}

TEST_F(CommandLine, NamesAreReadAndShown)
{
    const testsupport::TempDir directory;
    const std::string file = (directory.path() / "names").string();
    std::ofstream(file) << "level 1 video\ninput 2 CAM 2\noutput 3 MON 3\noutput 7 VTR\n";

    const auto take = runAt(m_bridge, {"--names", file, "take", "video:CAM 2:MON 3", "1:4:4"});
    const auto lock = runAt(m_bridge, {"--names", file, "lock", "video:VTR"});
    const auto status = runAt(m_bridge, {"--names", file, "status", "video", "MON 3", "2"});
    const auto tally = runAt(m_bridge, {"--names", file, "--json", "tally", "video", "VTR", "1"});
    const auto changes = runAt(m_bridge, {"--names", file, "changes", "video"});

    EXPECT_EQ(take.out, "LEVEL  INPUT  INPUT NAME  OUTPUT  OUTPUT NAME  RESULT\n"
                        "    1      2  CAM 2            3  MON 3        done\n"
                        "    1      4                   4               done\n");
    EXPECT_EQ(lock.out, "LEVEL  OUTPUT  OUTPUT NAME  LPR-ID  RESULT\n"
                        "    1       7  VTR               0  done\n");
    EXPECT_EQ(status.out, "LEVEL  OUTPUT  OUTPUT NAME  INPUT  INPUT NAME  STATE     RESULT\n"
                          "    1       3  MON 3            3              released  ok\n"
                          "    1       4                   4              released  ok\n");
    EXPECT_EQ(nlohmann::json::parse(tally.out)["entries"][0]["outputName"], "VTR");
    EXPECT_EQ(changes.status, 0) << changes.err;
}

TEST_F(CommandLine, GivenBadNamesSaysWhereAndSendsNothing)
{
    const testsupport::TempDir directory;
    const std::string file = (directory.path() / "names").string();
    std::ofstream(file) << "level 1 video\nimput 2 CAM 2\n";

    const auto outcome = runAt(m_bridge, {"--names", file, "take", "1:2:3"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "koractl: " + file + ":2: 'imput' cannot begin a line; level, input or output can\n");
    EXPECT_TRUE(m_bridge.requests().empty());
}

TEST(CommandLineTrouble, GivenTallyAnsweredWithoutEntriesExits3)
{
    FakeBridge bridge([](const koraclient::Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x8000005e, {1, 0, 0}), false};
    });

    const auto outcome = runAt(bridge, {"tally", "1", "0", "4"});

    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "koractl: the bridge answered only 0 of 4 outputs\n");
}

TEST(CommandLineUsage, HelpAndVersionExit0)
{
    const auto help = run({"--help"});
    const auto version = run({"--version"});

    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("coherent-take"), std::string::npos);
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.find("koractl "), 0U);
    EXPECT_EQ(run({"take", "--help"}).status, 0);
}

namespace
{

struct WrongUse
{
    std::vector<std::string> arguments;
    const char* firstLine;
};

class CommandLineWrongUse : public testing::TestWithParam<WrongUse>
{};

} // namespace

TEST_P(CommandLineWrongUse, SaysWhatIsWrongAndExits2)
{
    const auto outcome = run(GetParam().arguments);

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "koractl: " + std::string(GetParam().firstLine) + "\nRun koractl with --help for more information.\n");
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, CommandLineWrongUse,
    testing::Values(
        WrongUse{{}, "A subcommand is required"}, WrongUse{{"tkae"}, "there is no command 'tkae'"},
        WrongUse{{"take"}, "entries is required"},
        WrongUse{{"take", "1:2"}, "entries: '1:2' is not of the form LEVEL:INPUT:OUTPUT"},
        WrongUse{{"take", "1:2:x"},
                 "entries: '1:2:x' is not of the form LEVEL:INPUT:OUTPUT: 'x' is not a number from 0 to 4294967295"},
        WrongUse{{"lock", "1"}, "outputs: '1' is not of the form LEVEL:OUTPUT"},
        WrongUse{{"lock", "--force", "1:2"}, "The following argument was not expected: --force"},
        WrongUse{{"tally", "1", "0", "0"}, "count: must be at least 1"},
        WrongUse{{"tally", "1", "4294967295", "2"}, "count: goes beyond output 4294967295"},
        WrongUse{{"tally", "1", "0"}, "count is required"},
        WrongUse{{"--port", "0", "port"}, "--port: '0' is not a port from 1 to 65535"},
        WrongUse{{"--port", "65536", "port"}, "--port: '65536' is not a port from 1 to 65535"},
        WrongUse{{"--timeout", "0s", "port"},
                 "--timeout: '0s' is not a duration such as 500ms, 2s or 1min (more than 0, at most a day)"},
        WrongUse{{"raw", "--latency", "5", "4000"},
                 "--latency: this command is not a single request that can be measured"},
        WrongUse{{"watch", "x"}, "levels: 'x' is not a number from 0 to 4294967295"},
        WrongUse{{"raw", "--bytes", "0"}, "words: '0' is not a row of hexadecimal bytes"},
        WrongUse{{"raw", "xyz"}, "words: 'xyz' is not a hexadecimal word of up to 8 digits"},
        WrongUse{{"raw", "--message", "--bytes", "00"}, "--message excludes --bytes"}));
