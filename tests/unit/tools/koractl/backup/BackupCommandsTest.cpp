#include "tests/support/TempDir.h"
#include "tests/unit/tools/koractl/FakeLevel.h"
#include "tests/unit/tools/koractl/Golden.h"
#include "tools/koractl/CommandLine.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace
{

struct Outcome
{
    int status;
    std::string out;
    std::string err;
};

/// koractl beside a bridge whose level 1 has a number of ports. The level is looked at only while no client is served.
class Plant
{
public:
    explicit Plant(std::uint32_t ports)
        : m_level(ports), m_bridge([this](const auto& request, std::uint32_t sequence) {
              return m_leavesAt == sequence ? FakeReply{{}, true} : m_level(request, sequence);
          })
    {}

    Outcome run(std::vector<std::string> arguments, const std::string& input = "") const
    {
        const std::vector<std::string> where{"--port", std::to_string(m_bridge.port()), "--timeout", "20s"};
        arguments.insert(arguments.begin(), where.begin(), where.end());
        std::istringstream in(input);
        std::ostringstream out;
        std::ostringstream err;
        const int status = koractl::runCommandLine(arguments, {.in = in, .out = out, .err = err});
        return {status, out.str(), err.str()};
    }

    FakeLevel& level() { return m_level; }
    FakeBridge& bridge() { return m_bridge; }
    void leaveAt(std::uint32_t sequence) { m_leavesAt = sequence; }

    std::size_t countRequests(std::uint32_t id) const
    {
        const auto requests = m_bridge.requests();
        return static_cast<std::size_t>(
            std::count_if(requests.begin(), requests.end(), [id](const auto& each) { return each.id() == id; }));
    }

private:
    FakeLevel m_level;
    std::uint32_t m_leavesAt = 0xffffffff;
    FakeBridge m_bridge;
};

std::string withoutTime(const std::string& text)
{
    return std::regex_replace(text, std::regex("# written [^\n]*"), "# written");
}

std::string file(const std::string& lines)
{
    return "koractl-backup 1\nlevel 1\n" + lines;
}

void prepare(FakeLevel& level, std::uint32_t ports)
{
    for (std::uint32_t output = 1; output <= ports; ++output)
    {
        level.output(output) = {output % 90 == 0 ? 0 : output * 7 % ports + 1,
                                output % 50 == 0   ? 1U
                                : output % 70 == 0 ? 2U
                                                   : 0U,
                                output % 10 == 0 ? 40 + output % 4 : 0};
    }
}

} // namespace

TEST(Backup, Golden288Ports)
{
    Plant plant(288);
    prepare(plant.level(), 288);

    const Outcome outcome = plant.run({"backup", "-", "--level", "1"});

    EXPECT_EQ(outcome.status, 0) << outcome.err;
    expectGolden("backup-288.txt", withoutTime(outcome.out));
}

TEST(Backup, Golden2304Ports)
{
    Plant plant(2304);
    prepare(plant.level(), 2304);

    const Outcome outcome = plant.run({"backup", "-", "--level", "1"});

    EXPECT_EQ(outcome.status, 0) << outcome.err;
    expectGolden("backup-2304.txt", withoutTime(outcome.out));
}

TEST(Backup, GivenFileReplacesItWholeAndSaysWhatItHolds)
{
    const testsupport::TempDir directory;
    const std::string path = (directory.path() / "plant.backup").string();
    std::ofstream(path) << "old";
    Plant plant(20);
    plant.level().output(3) = {0, 1, 42};

    const Outcome text = plant.run({"backup", path, "--level", "1"});
    const Outcome json = plant.run({"--json", "backup", path, "--level", "1"});

    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.out, "level 1: 20 outputs, 19 routes, 1 locked or protected\n");
    EXPECT_EQ(json.out, R"({"command":"backup","done":true,"file":")" + path +
                            R"(","levels":[{"level":1,"done":true,"outputs":20,"routes":19,"held":1}]})"
                            "\n");
    std::stringstream written;
    written << std::ifstream(path).rdbuf();
    EXPECT_NE(written.str().find("output    3 input none locked by 42\n"), std::string::npos) << written.str();
    const auto files = std::filesystem::directory_iterator(directory.path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1) << "something was left behind";
}

TEST(Backup, GivenMissingLevelSavesTheOthersAndExits1)
{
    Plant plant(2);

    const Outcome outcome = plant.run({"backup", "-"}); // levels 1 and 2

    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("output    2 input    2 released\n"), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.err, "koractl: the backup is not whole\n");
}

TEST(Backup, GivenMissingLevelSaysWhichInTextAndJson)
{
    const testsupport::TempDir directory;
    const std::string path = (directory.path() / "plant.backup").string();
    Plant plant(2);

    const Outcome text = plant.run({"backup", path});
    const Outcome json = plant.run({"--json", "backup", path});

    EXPECT_EQ(text.out, "level 1: 2 outputs, 2 routes, 0 locked or protected\nlevel 2 does not exist\n");
    EXPECT_EQ(json.status, 1);
    EXPECT_NE(
        json.out.find(R"({"level":2,"done":false,"outputs":0,"routes":0,"held":0,"text":"level 2 does not exist"})"),
        std::string::npos)
        << json.out;
}

TEST(Backup, GivenJsonOnStandardOutputIsWrongUse)
{
    Plant plant(2);

    const Outcome outcome = plant.run({"--json", "backup", "-"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find("standard output takes the backup or the JSON object, not both"), std::string::npos)
        << outcome.err;
    EXPECT_TRUE(plant.bridge().requests().empty());
}

TEST(Backup, GivenFileThatCannotBeWrittenExits2)
{
    Plant plant(2);

    const Outcome outcome = plant.run({"backup", "/nowhere/plant.backup", "--level", "1"});

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "koractl: /nowhere/plant.backup: No such file or directory\n");
}

TEST(Backup, GivenBridgeThatLeavesKeepsTheOldFile)
{
    const testsupport::TempDir directory;
    const std::string path = (directory.path() / "plant.backup").string();
    std::ofstream(path) << "old";
    Plant plant(200);
    plant.leaveAt(2);

    const Outcome outcome = plant.run({"backup", path, "--level", "1"});

    EXPECT_EQ(outcome.status, 3);
    std::stringstream kept;
    kept << std::ifstream(path).rdbuf();
    EXPECT_EQ(kept.str(), "old");
}

TEST(Restore, GivenItsOwnBackupSendsNothing)
{
    Plant plant(288);
    prepare(plant.level(), 288);
    const Outcome backup = plant.run({"backup", "-", "--level", "1"});

    const Outcome outcome = plant.run({"restore", "-"}, backup.out);

    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "level 1: 288 outputs in the file, 288 as wanted, 0 set\n");
    EXPECT_EQ(plant.countRequests(0x50) + plant.countRequests(0x51), 0U);
}

TEST(Restore, GivenAnotherStateBringsBackEveryRouteAndLock)
{
    for (const std::uint32_t ports : {288U, 2304U})
    {
        Plant plant(ports);
        prepare(plant.level(), ports);
        for (std::uint32_t output = 90; output <= ports; output += 90)
        {
            plant.level().output(output).input = 3; // a missing route could not be brought back
        }
        const Outcome backup = plant.run({"backup", "-", "--level", "1"});
        for (std::uint32_t output = 1; output <= ports; ++output)
        {
            plant.level().output(output) = {ports + 1 - output, 0, 0};
        }

        const Outcome outcome = plant.run({"restore", "-"}, backup.out);

        EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
        EXPECT_EQ(withoutTime(plant.run({"backup", "-", "--level", "1"}).out), withoutTime(backup.out));
    }
}

TEST(Restore, GivenFewDifferencesSendsThoseAlone)
{
    Plant plant(20);
    plant.level().output(4) = {4, 1, 42};
    plant.level().output(5) = {5, 1, 77};

    const Outcome outcome = plant.run({"restore", "-", "--lpr-id", "9"},
                                      file("output 3 input 8 released\noutput 4 input 9 locked by 42\n"
                                           "output 5 input 5 released\noutput 6 input 6\noutput 7 protected by 11\n"));

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "LEVEL  OUTPUT   INPUT  STATE                        RESULT\n"
                           "    1       3  3 -> 8  released                     done\n"
                           "    1       4  4 -> 9  locked by 42                 done\n"
                           "    1       5       5  locked by 77 -> released     output 5 is locked by 77\n"
                           "    1       7       7  released -> protected by 11  done\n"
                           "level 1: 5 outputs in the file, 1 as wanted, 3 set, 1 not set\n");
    EXPECT_EQ(plant.level().output(3), (FakeLevel::Output{8, 0, 9}));
    EXPECT_EQ(plant.level().output(4), (FakeLevel::Output{9, 1, 42}));
    EXPECT_EQ(plant.level().output(5), (FakeLevel::Output{5, 1, 77}));
    EXPECT_EQ(plant.level().output(7), (FakeLevel::Output{7, 2, 11}));
    EXPECT_EQ(plant.countRequests(0x50), 1U);
    EXPECT_EQ(plant.countRequests(0x51), 2U) << "one message of releases, one of locks";
}

TEST(Restore, GivenForceOpensTheLocksOfOthers)
{
    Plant plant(20);
    plant.level().output(5) = {5, 1, 77};

    const Outcome outcome = plant.run({"restore", "-", "--force"}, file("output 5 input 6 released\n"));

    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(plant.level().output(5), (FakeLevel::Output{6, 0, 0}));
}

TEST(Restore, GivenDryRunShowsWhatWouldChangeAndSendsNothing)
{
    Plant plant(20);
    plant.level().output(5) = {5, 1, 77};

    const Outcome text = plant.run({"restore", "-", "--dry-run"}, file("output 3 input 8\noutput 5 input 6\n"));
    const Outcome json = plant.run({"--json", "restore", "-", "--dry-run"}, file("output 3 input 8 released\n"));

    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out, "LEVEL  OUTPUT   INPUT  STATE         RESULT\n"
                        "    1       3  3 -> 8  released      would be set\n"
                        "    1       5  5 -> 6  locked by 77  output 5 is locked by 77\n"
                        "level 1: 2 outputs in the file, 0 as wanted, 1 would be set, 1 would not be set\n");
    EXPECT_EQ(json.status, 0);
    EXPECT_EQ(json.out,
              R"({"command":"restore","done":true,"dryRun":true,"levels":[{"level":1,"wanted":1}],"entries":[)"
              R"({"level":1,"output":3,"line":3,"before":{"result":0,"input":3,"state":"released","lprId":0,)"
              R"("text":"ok"},"wanted":{"input":8,"state":"released","lprId":0},"done":false,"text":"would be set"}]})"
              "\n");
    EXPECT_EQ(plant.countRequests(0x50) + plant.countRequests(0x51), 0U);
}

TEST(Restore, GivenRefusalsOfTheBridgeReportsEachAndStillLocks)
{
    Plant plant(20);
    plant.level().output(4) = {4, 1, 42};
    plant.level().refuseInput(9);

    const Outcome outcome =
        plant.run({"restore", "-"}, file("output 4 input 9 locked by 42\noutput 99 input 1\noutput 5 input 500\n"));

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "LEVEL  OUTPUT     INPUT  STATE         RESULT\n"
                           "    1       4    4 -> 9  locked by 42  take: input 9 is not on level 1 or not available\n"
                           "    1      99         -                output 99 is not on level 1 or not available\n"
                           "    1       5  5 -> 500  released      take: input 500 is not on level 1 or not available\n"
                           "level 1: 3 outputs in the file, 0 as wanted, 0 set, 3 not set\n");
    EXPECT_EQ(plant.level().output(4), (FakeLevel::Output{4, 1, 42})) << "the lock must not stay open";
}

TEST(Restore, GivenLevelThatTheBridgeDoesNotHaveSaysSo)
{
    Plant plant(2);

    const Outcome outcome = plant.run({"restore", "-"}, "koractl-backup 1\nlevel 4\noutput 1 input 2\n");

    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("level 4 does not exist\n"), std::string::npos) << outcome.out;
    EXPECT_EQ(plant.countRequests(0x50) + plant.countRequests(0x51), 0U);
}

TEST(Restore, GivenLockThatChangedHandsMeanwhileReportsTheRelease)
{
    FakeLevel level(20);
    level.output(5) = {5, 1, 42};
    FakeBridge bridge([&level](const koraclient::Message& request, std::uint32_t sequence) {
        constexpr std::uint32_t setOutputLpr = 0x51;
        if (request.id() == setOutputLpr)
        {
            level.output(5) = {5, 1, 77};
        }
        return level(request, sequence);
    });
    std::istringstream in(file("output 5 input 6 locked by 42\n"));
    std::ostringstream out;
    std::ostringstream err;

    const int status = koractl::runCommandLine({"--port", std::to_string(bridge.port()), "restore", "-"},
                                               {.in = in, .out = out, .err = err});

    EXPECT_EQ(status, 1) << err.str();
    EXPECT_NE(out.str().find("release: output 5 is locked"), std::string::npos) << out.str();
}

TEST(Restore, GivenBridgeThatLeavesAtTheReleasesSaysThatTheyMayHaveBeenDone)
{
    Plant plant(20);
    plant.level().output(5) = {5, 1, 42};
    plant.leaveAt(2); // after the answer to the question for all outputs and the quiet one behind it

    const Outcome outcome = plant.run({"restore", "-"}, file("output 5 input 6 locked by 42\n"));

    EXPECT_EQ(outcome.status, 3);
    EXPECT_NE(outcome.out.find("release: no answer; it may have been done"), std::string::npos) << outcome.out;
}

TEST(Restore, GivenBridgeThatLeavesSaysHowFarItCame)
{
    Plant plant(1200);
    std::string lines;
    for (int output = 1; output <= 600; ++output)
    {
        lines += "output " + std::to_string(output) + " input 1200\n";
    }
    // 19 full answers, the half one and the quiet one to the question for all outputs; then the first group.
    plant.leaveAt(1200 / 64 + 2 + 1);

    const Outcome outcome = plant.run({"restore", "-"}, file(lines));

    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "koractl: the bridge closed the connection\n");
    EXPECT_NE(outcome.out.find("level 1: 600 outputs in the file, 0 as wanted, 510 set, 90 not set\n"),
              std::string::npos)
        << outcome.out.substr(outcome.out.rfind("level"));
    EXPECT_NE(outcome.out.find("take: no answer; it may have been done\n"), std::string::npos);
}

TEST(Restore, GivenBadFileSaysWhereAndSendsNothing)
{
    Plant plant(20);

    const Outcome outcome = plant.run({"restore", "-"}, file("output 3 input 8\noutput 4 inptu 9\n"));

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "koractl: standard input:4: the line says neither an input nor a state for its output\n");
    EXPECT_TRUE(plant.bridge().requests().empty());
}

TEST(Restore, GivenLevelsRestoresThoseAlone)
{
    Plant plant(20);

    const Outcome outcome =
        plant.run({"restore", "-", "--level", "1"}, file("output 3 input 8\nlevel 2\noutput 1 input 2\n"));

    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(plant.level().output(3).input, 8U);
}

TEST(Restore, GivenNoFileSaysSo)
{
    Plant plant(2);

    EXPECT_EQ(plant.run({"restore", "/nowhere"}).err, "koractl: /nowhere: No such file or directory\n");
}

TEST(Matrix, PrintsThePictureOnce)
{
    Plant plant(12);
    plant.level().output(3) = {5, 1, 42};

    const Outcome outcome = plant.run({"matrix", "1", "--width", "60"});

    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("     3  ....L....:..     5  locked by 42\n"), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.out.find('\x1b'), std::string::npos);
}

TEST(Matrix, GivenColourAlwaysOrJsonObeys)
{
    Plant plant(3);

    const Outcome color = plant.run({"matrix", "1", "--color", "always"});
    const Outcome json = plant.run({"--json", "matrix", "1", "--outputs", "2", "--inputs", "1-9"});

    EXPECT_NE(color.out.find("\x1b[1;32mo"), std::string::npos) << color.out;
    EXPECT_EQ(json.out, R"({"command":"matrix","done":true,"level":1,"inputs":[1,9],"entries":[{"output":2,)"
                        R"("result":0,"input":2,"state":"released","lprId":0,"text":"ok"}]})"
                        "\n");
}

TEST(Matrix, GivenUnknownLevelIsRefused)
{
    Plant plant(3);

    const Outcome outcome = plant.run({"matrix", "4"});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "level 4 does not exist\n");
}
