#include "tests/fakes/FakeBridge.h"
#include "tools/koractl/commands/EntryReports.h"
#include "tools/koractl/commands/WordReports.h"
#include "tools/koractl/common/LatencyReport.h"
#include "tools/koractl/common/OutputsReport.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace koraclient;
using namespace koractl;
using namespace std::chrono_literals;

namespace
{

std::string textOf(const Report& report)
{
    std::ostringstream out;
    report.printText(out);
    return out.str();
}

OutputsReport statusReport()
{
    return OutputsReport("status", 1, {{"format", 2}},
                         {OutputRow{7, 0, 12, OutputLpr{1, 5}}, OutputRow{8, 3, 0, OutputLpr{0, 0}},
                          OutputRow{9, 0, 0, OutputLpr{2, 12}}});
}

} // namespace

TEST(TakeReport, GoldenText)
{
    const TakeReport sut("take", {TakeRow{{.level = 1, .lprId = 0, .input = 12, .output = 7}, 0, std::nullopt},
                                  TakeRow{{.level = 1, .lprId = 0, .input = 900, .output = 8}, 3, std::nullopt},
                                  TakeRow{{.level = 2, .lprId = 0, .input = 1, .output = 104}, 13, 12}});

    EXPECT_EQ(textOf(sut), "LEVEL  INPUT  OUTPUT  RESULT\n"
                           "    1     12       7  done\n"
                           "    1    900       8  input 900 is not on level 1 or not available\n"
                           "    2      1     104  output 104 is protected by 12\n");
    EXPECT_FALSE(sut.isAllDone());
}

TEST(TakeReport, GoldenJson)
{
    const TakeReport sut("coherent-take", {TakeRow{{.level = 1, .lprId = 4, .input = 12, .output = 7}, 12, 5}});

    EXPECT_EQ(sut.toJson().dump(),
              R"({"command":"coherent-take","done":false,"entries":[{"level":1,"input":12,"output":7,"lprId":4,)"
              R"("result":12,"done":false,"text":"output 7 is locked by 5","holder":5}]})");
}

TEST(TakeReport, GivenEveryEntryDoneIsAllDone)
{
    const TakeReport sut("take", {TakeRow{{}, 0, std::nullopt}, TakeRow{{}, 0, std::nullopt}});

    EXPECT_TRUE(sut.isAllDone());
    EXPECT_TRUE(sut.toJson()["done"].get<bool>());
}

TEST(TakeReport, GivenEntriesWithoutAnAnswerSaysWhatIsKnownOfThem)
{
    const TakeReport sut("take", {TakeRow{{1, 0, 2, 3}, 0, std::nullopt},
                                  TakeRow{{1, 0, 2, 4}, EntryOutcome::unanswered(), std::nullopt},
                                  TakeRow{{1, 0, 2, 5}, EntryOutcome(), std::nullopt}});

    EXPECT_EQ(textOf(sut), "LEVEL  INPUT  OUTPUT  RESULT\n"
                           "    1      2       3  done\n"
                           "    1      2       4  no answer; it may have been done\n"
                           "    1      2       5  not sent\n");
    EXPECT_TRUE(sut.toJson()["entries"][1]["result"].is_null());
    EXPECT_FALSE(sut.isAllDone());
}

TEST(LprReport, GoldenText)
{
    const LprReport sut(
        "lock", {LprRow{{1, 7, LprCommand::lock, 5}, 0, std::nullopt}, LprRow{{1, 8, LprCommand::lock, 5}, 12, 6}});

    EXPECT_EQ(textOf(sut), "LEVEL  OUTPUT  LPR-ID  RESULT\n"
                           "    1       7       5  done\n"
                           "    1       8       5  output 8 is locked by 6\n");
    EXPECT_FALSE(sut.isAllDone());
}

TEST(LprReport, GoldenJson)
{
    const LprReport sut("release", {LprRow{{1, 7, LprCommand::forcedRelease, 5}, 0, std::nullopt}});

    EXPECT_EQ(sut.toJson().dump(), R"({"command":"release","done":true,"entries":[{"level":1,"output":7,"lprId":5,)"
                                   R"("result":0,"done":true,"text":"done"}]})");
    EXPECT_TRUE(sut.isAllDone());
}

TEST(LprReport, GivenHolderNamesItInJson)
{
    const LprReport sut("lock", {LprRow{{1, 8, LprCommand::lock, 5}, 12, 6}});

    EXPECT_EQ(sut.toJson().dump(), R"({"command":"lock","done":false,"entries":[{"level":1,"output":8,"lprId":5,)"
                                   R"("result":12,"done":false,"text":"output 8 is locked by 6","holder":6}]})");
}

TEST(OutputsReport, GoldenTextWithLockStates)
{
    EXPECT_EQ(textOf(statusReport()), "LEVEL  OUTPUT  INPUT  STATE            RESULT\n"
                                      "    1       7     12  locked by 5      ok\n"
                                      "    1       8      -  released         no route\n"
                                      "    1       9      0  protected by 12  ok\n");
    EXPECT_TRUE(statusReport().isAllDone());
}

TEST(OutputsReport, GoldenTextWithoutLockStates)
{
    const OutputsReport sut("tally", 1, nlohmann::ordered_json::object(),
                            {OutputRow{7, 0, 12, std::nullopt}, OutputRow{8, 4, 0, std::nullopt}});

    EXPECT_EQ(textOf(sut), "LEVEL  OUTPUT  INPUT  RESULT\n"
                           "    1       7     12  ok\n"
                           "    1       8      -  output 8 is not on level 1 or not available\n");
    EXPECT_FALSE(sut.isAllDone());
}

TEST(OutputsReport, GoldenJson)
{
    EXPECT_EQ(statusReport().toJson().dump(),
              R"({"command":"status","done":true,"level":1,"format":2,"entries":[)"
              R"({"output":7,"result":0,"input":12,"state":"locked","lprId":5,"text":"ok"},)"
              R"({"output":8,"result":3,"input":null,"state":"released","lprId":0,"text":"no route"},)"
              R"({"output":9,"result":0,"input":0,"state":"protected","lprId":12,"text":"ok"}]})");
}

TEST(LatencyReport, GoldenText)
{
    std::vector<std::chrono::nanoseconds> times;
    for (int i = 1000; i > 0; --i)
    {
        times.emplace_back(i * 1000);
    }
    const LatencyReport sut("take", times, 500ms, true);

    EXPECT_EQ(textOf(sut), "1000 requests in 0.500 s, 2000 a second; milliseconds:\n"
                           "  MIN    P50    P90    P99  P99.9    MAX\n"
                           "0.001  0.500  0.900  0.990  0.999  1.000\n");
    EXPECT_EQ(sut.toJson().dump(), R"({"command":"take","done":true,"requests":1000,"seconds":0.5,"milliseconds":)"
                                   R"({"min":0.001,"p50":0.5,"p90":0.9,"p99":0.99,"p99.9":0.999,"max":1.0}})");
}

TEST(LatencyReport, GivenNoTimesShowsNoPercentiles)
{
    const LatencyReport sut("take", {}, 1s, true);

    EXPECT_EQ(textOf(sut), "0 requests in 1.000 s\n");
    EXPECT_EQ(sut.toJson()["milliseconds"].dump(), "{}");
}

TEST(OutputsReport, GivenNoChangesSaysSo)
{
    const OutputsReport sut("changes", 4, {{"format", 2}, {"complete", true}}, {});

    EXPECT_EQ(textOf(sut), "no changes on level 4\n");
    EXPECT_EQ(sut.toJson().dump(),
              R"({"command":"changes","done":true,"level":4,"format":2,"complete":true,"entries":[]})");
    EXPECT_TRUE(sut.isAllDone());
}

TEST(OutputsReport, GivenMissingLevelIsRefused)
{
    OutputsReport sut("changes", 4, {{"format", 2}, {"complete", true}}, {});

    sut.markLevelMissing();

    EXPECT_EQ(textOf(sut), "level 4 does not exist\n");
    EXPECT_FALSE(sut.isAllDone());
}

TEST(SystemReports, GoldenPartition)
{
    const auto sut = partitionReport({2, 1, 9, 1, 288, 1, 1, 288, 1, 2, 7, 1, 2304, 1, 1, 2304, 1});

    EXPECT_EQ(textOf(sut), "partition information\n"
                           "OFFSET         HEX  DECIMAL\n"
                           "    20  0x00000002        2\n"
                           "    24  0x00000001        1\n"
                           "    28  0x00000009        9\n"
                           "    32  0x00000001        1\n"
                           "    36  0x00000120      288\n"
                           "    40  0x00000001        1\n"
                           "    44  0x00000001        1\n"
                           "    48  0x00000120      288\n"
                           "    52  0x00000001        1\n"
                           "    56  0x00000002        2\n"
                           "    60  0x00000007        7\n"
                           "    64  0x00000001        1\n"
                           "    68  0x00000900     2304\n"
                           "    72  0x00000001        1\n"
                           "    76  0x00000001        1\n"
                           "    80  0x00000900     2304\n"
                           "    84  0x00000001        1\n");
    EXPECT_EQ(sut.toJson().dump(),
              R"({"command":"partition","done":true,"words":[2,1,9,1,288,1,1,288,1,2,7,1,2304,1,1,2304,1]})");
}

TEST(SystemReports, GoldenPort)
{
    const auto sut = portReport(0);

    EXPECT_EQ(textOf(sut), "router port\nOFFSET         HEX  DECIMAL\n    20  0x00000000        0\n");
    EXPECT_EQ(sut.toJson().dump(), R"({"command":"port","done":true,"words":[0]})");
}

TEST(SystemReports, GivenFormatWithTimeShowsItAsADate)
{
    SystemStatus status{.format = 2, .words = std::vector<std::uint32_t>(16, 0)};
    status.words[(60 - 24) / 4] = 1700000000;

    const auto sut = systemReport(status);

    EXPECT_NE(textOf(sut).find("    60  0x6553f100  1700000000  2023-11-14 22:13:20 UTC\n"), std::string::npos)
        << textOf(sut);
    EXPECT_EQ(sut.toJson()["time"], 1700000000U);
    EXPECT_EQ(sut.toJson()["format"], 2U);
}

TEST(SystemReports, GivenTheLastMomentThatAWordCanNameShowsItsDate)
{
    SystemStatus status{.format = 2, .words = std::vector<std::uint32_t>(16, 0)};
    status.words[(60 - 24) / 4] = 4294967295U;

    EXPECT_NE(textOf(systemReport(status)).find("4294967295  2106-02-07 06:28:15 UTC\n"), std::string::npos);
}

TEST(SystemReports, GivenFormat6WithoutItsTimeHasNone)
{
    const auto sut = systemReport({.format = 6, .words = {1, 2}});

    EXPECT_TRUE(sut.toJson()["time"].is_null());
    EXPECT_EQ(textOf(sut).find("UTC"), std::string::npos);
}

TEST(SystemReports, GivenFormat0HasNoTime)
{
    const auto sut = systemReport({.format = 0, .words = std::vector<std::uint32_t>(11, 1)});

    EXPECT_TRUE(sut.toJson()["time"].is_null());
    EXPECT_EQ(textOf(sut).find("UTC"), std::string::npos);
}

TEST(SystemReports, GoldenCard)
{
    const auto sut = cardReport({.word = 3, .words = {0, 1, 0, 0}});

    EXPECT_EQ(textOf(sut), "control card 3 is present\n"
                           "OFFSET         HEX  DECIMAL\n"
                           "    24  0x00000000        0\n"
                           "    28  0x00000001        1\n"
                           "    32  0x00000000        0\n"
                           "    36  0x00000000        0\n");
    EXPECT_EQ(sut.toJson().dump(), R"({"command":"card","done":true,"card":3,"present":true,"words":[0,1,0,0]})");
}

TEST(RawReport, GoldenTextAndJson)
{
    const RawReport sut({Message(bytesOf({12, 0, 24, 0x80004000, 1, 0}))});

    EXPECT_EQ(textOf(sut), "message 0x80004000, 24 bytes\n"
                           "OFFSET         HEX     DECIMAL\n"
                           "     0  0x0000000c          12  protocol type\n"
                           "     4  0x00000000           0  sequence\n"
                           "     8  0x00000018          24  length\n"
                           "    12  0x80004000  2147500032  message id\n"
                           "    16  0x00000001           1  tag\n"
                           "    20  0x00000000           0\n");
    EXPECT_EQ(
        sut.toJson().dump(),
        R"({"command":"raw","done":true,"responses":[{"id":2147500032,"length":24,"words":[12,0,24,2147500032,1,0]}]})");
    EXPECT_TRUE(sut.isAllDone());
}

TEST(WordsReport, GivenNoWordsShowsTheHeadingAlone)
{
    const WordsReport sut("nothing", {{"command", "x"}}, 20, {});

    EXPECT_EQ(textOf(sut), "nothing\n");
    EXPECT_EQ(sut.toJson().dump(), R"({"command":"x","words":[]})");
}

TEST(RawReport, GivenErrorResponseIsNotDone)
{
    const RawReport sut({Message(bytesOf({12, 0, 24, 0x80000000, 1, 8}))});

    EXPECT_FALSE(sut.isAllDone());
}
