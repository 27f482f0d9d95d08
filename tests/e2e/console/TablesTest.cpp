#include "tests/e2e/console/OperatorFixture.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>

using namespace e2e;
using com::tallowcrest::dds_::routing::LPR_LOCKED;
using com::tallowcrest::dds_::routing::LPR_PROTECTED;

namespace
{

using ConsoleTablesTest = OperatorFixture;

const std::string levelsHeading = "Video Levels\n"
                                  "    Lvl  1: numXptsPer 1, IN (xpt     1, num   288, ctl     1)"
                                  "   OUT (xpt     1 num   288 ctl     1)\n";
const std::string audioLevels = "Audio Levels\n"
                                "    Lvl  2: numXptsPer 1, IN (xpt     1, num  2304, ctl     1)"
                                "   OUT (xpt     1 num  2304 ctl     1)\n";

std::string connectionRow(int socket)
{
    std::array<char, 64> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%8d 127.000.000.001\n", socket));
    return std::string(text.data()) + "               ----- Unexpected Protocols -----\n";
}

std::string bytes(std::initializer_list<std::uint32_t> words)
{
    std::string text;
    for (const std::uint32_t word : words)
    {
        for (const int shift : {24, 16, 8, 0})
        {
            text += static_cast<char>(word >> shift);
        }
    }
    return text;
}

/// What stands behind the connection table for a connection; `processed` are its rows.
std::string commandsOf(int socket, const std::string& processed)
{
    return "\nCommands of clientFd " + std::to_string(socket) +
           "\n----- Unhandled Cmds -----\n----- Processed Cmds -----\n" + processed;
}

/// Chooses "Show Server Connections" and returns what the server's thread printed, within about a second, up to and
/// with a row that comes `count` times. The menu comes at the same time, before or behind the list or within it.
std::string connectionList(Operator& sut, const std::string& lastRow, std::size_t count)
{
    sut.type("0\n");
    const std::string menu(menuScreen);
    std::string text;
    while (count-- > 0)
    {
        text += sut.until(lastRow, std::chrono::milliseconds(2500));
    }
    if (text.find(menu) == std::string::npos)
    {
        text += sut.until(menu);
    }
    text.erase(text.find(menu), menu.size());
    return text;
}

} // namespace

TEST_F(ConsoleTablesTest, TargetAndStatusRowsShowWhatWasTakenAndLocked)
{
    startJoined();
    auto client = connectController();
    Operator sut;
    ASSERT_EQ(client.take({{videoLevel, 42, 5, 7}}), std::vector<std::uint32_t>{0});
    ASSERT_EQ(client.setOutputLpr({{videoLevel, 8, koraclient::LprCommand::protect, 9}}).results,
              std::vector<std::uint32_t>{0});
    ASSERT_TRUE(waitForInput(client, videoLevel, 7, 5));
    ASSERT_TRUE(
        testsupport::waitUntil([&] { return client.outputStatus(0, videoLevel, 8, 1).entries.at(0).lprState != 0; }));

    const auto expectedRows = tableHeader() + row(6, -1, "**:**:**:**", 0, "released") +
                              row(7, 5, "00:00:00;00", 42, "released") + row(8, -1, "00:00:00;00", 9, "protected") +
                              row(9, -1, "**:**:**:**", 0, "released");
    const std::string targetBegin = "\n--------- Video Crosspoints Target ---------\n\n" + expectedRows;
    const std::string statusBegin = "\n--------- Video Crosspoints Status ---------\n\n" + expectedRows;
    EXPECT_EQ(sut.table("7", "6").substr(0, targetBegin.size()), targetBegin);
    EXPECT_EQ(sut.table("9", "6").substr(0, statusBegin.size()), statusBegin);
}

TEST_F(ConsoleTablesTest, StatusTableFollowsTheRouterAlone)
{
    startJoined();
    Operator sut;
    router().setStatus(Signal::Audio, xpt(2304, 17, 77, LPR_LOCKED));
    auto client = connectController();
    ASSERT_TRUE(waitForInput(client, audioLevel, 2304, 17));

    const auto status = lines(sut.table("8", "2304"));
    const auto target = lines(sut.table("6", "2304"));

    ASSERT_EQ(status.size(), 6U);
    EXPECT_EQ(status[5].substr(0, 30), row(2304, 17, "", 0, "").substr(0, 30));
    EXPECT_EQ(status[5].substr(45), "    77    locked");
    ASSERT_EQ(target.size(), 6U);
    EXPECT_EQ(target[5] + "\n", row(2304, -1, "**:**:**:**", 0, "released"));
}

TEST_F(ConsoleTablesTest, ConnectionsComeFromTheServersThreadWithTheirUnexpectedProtocols)
{
    startJoined();
    auto client = connectController();
    ASSERT_EQ(client.take({{videoLevel, 0, 1, 1}}), std::vector<std::uint32_t>{0});
    auto odd = testsupport::TcpSocket::connect(koraPort);
    ASSERT_TRUE(odd);
    odd->send(bytes({21, 1, 16, 0x50}) + bytes({21, 2, 16, 0x50}));
    ASSERT_TRUE(bridge().waitForOutput("Unexpected Protocol: nptSCPProtocol 0x15"));
    Operator sut;

    const auto sockets = controllerSockets();
    ASSERT_EQ(sockets.size(), 2U);
    EXPECT_EQ(connectionList(sut, "----- Processed Cmds -----\n", 2),
              "\nclientFd         Ip Addr\n-------- ---------------\n" + connectionRow(sockets[0]) +
                  connectionRow(sockets[1]) + "               0x15 nptSCPProtocol\n" +
                  commandsOf(sockets[0], "                      1 0x00000050 ermcTake\n") + commandsOf(sockets[1], ""));
}

TEST_F(ConsoleTablesTest, EveryTableIsServedBeforeAnyJoin)
{
    startBridge();
    Operator sut;

    EXPECT_EQ(connectionList(sut, "---------------\n", 1), "\nclientFd         Ip Addr\n-------- ---------------\n");
    EXPECT_EQ(sut.choose("1"), "\n"
                               "--------------------------------- Server Stats ---------------------------------\n"
                               "Tcp Server Socket Reopen Cnt:        0    Tcp Accepted Cnt:                    0\n"
                               "Tcp Server Open Error Cnt:           0    Set Socket Option Error Cnt:         0\n");
    EXPECT_EQ(sut.choose("10"), levelsHeading + audioLevels);
    const auto rows = lines(sut.table("7", "1"));
    ASSERT_EQ(rows.size(), 15U);
    EXPECT_EQ(rows[5], "                      1     -1    **:**:**:**     0  released");
}

TEST_F(ConsoleTablesTest, EveryTableIsServedWithAllSixteenControllersConnected)
{
    startJoined();
    std::vector<koraclient::KoraClient> clients;
    while (clients.size() < 16)
    {
        clients.push_back(connectController());
        clients.back().portPresent(); // answered: it holds a slot
    }
    ASSERT_TRUE(testsupport::waitForClosedPort(koraPort));
    Operator sut;

    const std::string command = "                      1 0x00004000 ermcPortPresent\n";
    std::string expected = "\nclientFd         Ip Addr\n-------- ---------------\n";
    std::string commands;
    for (const int socket : controllerSockets())
    {
        expected += connectionRow(socket);
        commands += commandsOf(socket, command);
    }
    EXPECT_EQ(connectionList(sut, command, clients.size()), expected + commands);
    EXPECT_NE(sut.choose("1").find("Tcp Accepted Cnt:                   16\n"), std::string::npos);
    EXPECT_EQ(sut.choose("10"), levelsHeading + audioLevels);
    EXPECT_EQ(lines(sut.table("8", "1")).size(), 15U);
}

TEST_F(ConsoleTablesTest, LevelFromTheBusIsListed)
{
    startJoined();
    Operator sut;
    router().publishLevel({5, com::tallowcrest::dds_::routing::LST_Video, 11, 8, 101, 21, 4, 201});

    const std::string level = "    Lvl  5: numXptsPer 1, IN (xpt    11, num     8, ctl   101)"
                              "   OUT (xpt    21 num     4 ctl   201)\n";
    std::string text;
    EXPECT_TRUE(
        testsupport::waitUntil([&] { return (text = sut.choose("show all")).find(level) != std::string::npos; }));
    EXPECT_EQ(lines(text).size(), 5U);
    EXPECT_EQ(text.substr(text.size() - audioLevels.size()), audioLevels);
}

TEST_F(ConsoleTablesTest, EveryCommandClassHasItsPool)
{
    startJoined();
    auto client = connectController();
    client.portPresent();
    Operator sut;

    const std::string text = sut.choose("2");

    const std::string header =
        "                                                      Num     Size   Total  Avail In Use\n"
        "              Name                               Grow Blocks  Buf    Bufs   Bufs  Bufs  \n"
        "------------------------------------------------ ---- ------ ------ ------ ------ ------\n";
    ASSERT_EQ(text.substr(0, header.size()), header);
    EXPECT_EQ(text.substr(text.size() - 2), "\n\n");
    std::set<std::string> names;
    for (const auto& line : lines(text.substr(header.size(), text.size() - header.size() - 1)))
    {
        std::array<char, 64> name{};
        std::array<char, 8> canGrow{};
        int blocks = 0;
        int stride = 0;
        int total = 0;
        int available = 0;
        int inUse = 0;
        ASSERT_EQ(std::sscanf(line.c_str(), "%63s %7s %d %d %d %d %d", name.data(), canGrow.data(), &blocks, &stride,
                              &total, &available, &inUse),
                  7)
            << line;
        EXPECT_EQ(line.size(), 48U + 5 + 5 * 7) << line;
        EXPECT_EQ(total, 20 * blocks) << line;
        EXPECT_EQ(inUse, total - available) << line;
        EXPECT_EQ(stride % 8, 0) << line;
        names.insert(name.data());
    }
    for (const char* const name : {"TakeCmd",
                                   "CoherentTakeCmd",
                                   "SetOutputLPRCmd",
                                   "TallyCmd",
                                   "GetOutputStatusCmd",
                                   "GetOutputChangesCmd",
                                   "PartitionInfoCmd",
                                   "RouterPortPresentCmd",
                                   "CcPresenceCmd",
                                   "ReadySystemStatusCmd",
                                   "TakeRsp",
                                   "CoherentTakeRsp",
                                   "SetOutputLPRRsp",
                                   "TallyRsp",
                                   "GetOutputStatusRsp",
                                   "GetOutputChangesRsp",
                                   "PartitionInfoRsp",
                                   "RouterPortPresentRsp",
                                   "CcPresenceRsp",
                                   "ReadySystemStatusRsp",
                                   "ErrorRsp",
                                   "CmdBase"})
    {
        EXPECT_EQ(names.count(name), 1U) << name;
    }
}

TEST_F(ConsoleTablesTest, TasksOfTheBridgeAreRunning)
{
    startJoined();
    Operator sut;

    const auto rows = lines(sut.choose("show t"));

    ASSERT_GE(rows.size(), 6U);
    EXPECT_EQ(rows[0], "");
    EXPECT_EQ(rows[1], "Task Pointer       State  TaskId Name");
    EXPECT_EQ(rows[2], "------------ -----------  ------ -----------------------");
    for (const std::string name : {"Bridge Apartment", "TelnetIO", "Kora Server"})
    {
        EXPECT_EQ(std::count_if(rows.begin() + 3, rows.end(),
                                [&](const std::string& line) {
                                    return line.size() == 32 + name.size() && line.substr(0, 4) == "  0x" &&
                                           line.substr(12, 12) == "     running" && line.substr(32) == name;
                                }),
                  1)
            << name;
    }
}
