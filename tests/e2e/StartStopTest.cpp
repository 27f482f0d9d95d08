#include "koraclient/Errors.h"
#include "tests/e2e/support/BridgeFixture.h"

#include <netinet/in.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

using namespace e2e;
using testsupport::ChildProcess;
using testsupport::programPath;
using testsupport::waitForPort;

namespace
{

using StartStopTest = BridgeFixture;

/// Occupies a TCP port on every address until destroyed.
class PortHolder
{
public:
    explicit PortHolder(std::uint16_t port) : m_fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        const int reuse = 1; // connections of an earlier case may still wait for their end
        EXPECT_EQ(setsockopt(m_fd, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse)), 0);
        EXPECT_EQ(bind(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(m_fd, 1), 0);
    }
    ~PortHolder() { ::close(m_fd); }
    PortHolder(const PortHolder&) = delete;
    PortHolder& operator=(const PortHolder&) = delete;

private:
    int m_fd;
};

} // namespace

TEST_F(StartStopTest, WrongArgumentCountPrintsTheUsageAndFails)
{
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"1", "2", "name"}, std::vector<std::string>{"1", "2", "name", "text", "extra"}})
    {
        ChildProcess sut(programPath("korabridge"), arguments);

        EXPECT_EQ(sut.waitForExit(), 1);
        EXPECT_EQ(sut.output(), "\nusage: " + programPath("korabridge").string() +
                                    " <frameId> <koraBridgeId> <koraBridgeName> <description>\n\n");
        EXPECT_EQ(sut.errors(), "");
    }
}

TEST_F(StartStopTest, FrameIdThatIsNoNumberIsFrameZero)
{
    startBridge({"abc", "3", "Bridge One", "frame zero"});

    EXPECT_TRUE(record().waitForComponent(0, bridgeId, Liveness::Alive));
}

TEST_F(StartStopTest, MissingLoggingFileIsToldOnce)
{
    startBridge();

    EXPECT_TRUE(bridge().waitForErrors("Problem opening log4cxx config file /etc/tc/log/korabridge-log.xml (falling "
                                       "back to BasicConfigurator) : No such file or directory\n"));
}

TEST_F(StartStopTest, LongNameAndDescriptionAreCutForTheBusWithAWarning)
{
    startBridge({"17", "3", std::string(40, 'n'), std::string(150, 'd')});

    ASSERT_TRUE(record().waitForComponent(frameId, bridgeId, Liveness::Alive));
    const auto component = record().component(frameId, bridgeId);
    EXPECT_EQ(component->info.name, std::string(32, 'n'));
    EXPECT_EQ(component->info.description, std::string(128, 'd'));
    EXPECT_NE(bridge().output().find("WARN"), std::string::npos);
}

TEST_F(StartStopTest, TerminateStopsCleanlyAndTheComponentRecordLosesItsWriter)
{
    startJoined();
    auto client = connectController();
    ASSERT_EQ(client.take({{videoLevel, 0, 5, 7}}), std::vector<std::uint32_t>{0});
    ASSERT_TRUE(record().waitForTarget(Signal::Video, 7));

    EXPECT_EQ(stopBridge(), 0);

    EXPECT_TRUE(record().waitForComponent(frameId, bridgeId, Liveness::NoWriters));
    EXPECT_TRUE(record().waitForTargetGone(Signal::Video, 7, Liveness::NoWriters));
    EXPECT_NE(bridge().output().find("Stopping on signal 15 from process " + std::to_string(getpid())),
              std::string::npos);
    EXPECT_NE(bridge().output().find("Stopping korabridge"), std::string::npos);
    EXPECT_THROW(client.portPresent(), koraclient::KoraError);
}

TEST_F(StartStopTest, InterruptBeforeAnyMembershipStopsCleanly)
{
    startBridge();
    ASSERT_TRUE(record().waitForComponent(frameId, bridgeId, Liveness::Alive));

    bridge().signal(SIGINT);

    EXPECT_EQ(bridge().waitForExit(), 0);
}

TEST_F(StartStopTest, TerminateAtAnyStageOfTheStartStopsCleanly)
{
    // In the order in which they come: the logging file is missed before anything else is made.
    for (const std::string stage : {"Problem opening log4cxx config file", "Port: 8882", "Starting korabridge"})
    {
        SCOPED_TRACE(stage);
        startBridge();
        ASSERT_TRUE(testsupport::waitUntil(
            [&] { return (bridge().errors() + bridge().output()).find(stage) != std::string::npos; }));

        bridge().signal(SIGTERM);

        EXPECT_EQ(bridge().waitForExit(), 0);
        EXPECT_NE(bridge().output().find("Stopping on signal 15 from process " + std::to_string(getpid())),
                  std::string::npos);
        EXPECT_NE(bridge().output().find("Stopping korabridge"), std::string::npos);
    }
}

TEST_F(StartStopTest, StopsWithCommandsUnderWay)
{
    startJoined();
    auto client = connectController();
    std::vector<koraclient::TakeEntry> entries(500, koraclient::TakeEntry{videoLevel, 0, 1, 1});
    std::jthread sender([&](const std::stop_token& stop) {
        try
        {
            while (!stop.stop_requested())
            {
                client.take(entries);
            }
        }
        catch (const koraclient::KoraError&)
        {
            // the bridge went away, as it was told to
        }
    });
    ASSERT_TRUE(record().waitForTarget(Signal::Video, 1));

    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(StartStopTest, ControllerPortTakenAtTheStartIsServedOnceItIsFree)
{
    auto holder = std::make_unique<PortHolder>(koraPort);
    startBridge();
    router().announce();
    ASSERT_TRUE(bridge().waitForOutput("failed binding socket"));

    holder.reset();

    ASSERT_TRUE(bridge().waitForOutput("bind IP addr 0x0 (0.0.0.0) Port: 5194"));
    auto client = connectController();
    EXPECT_EQ(client.portPresent(), 0U);
}

TEST_F(StartStopTest, SharedMemoryOfTheWrongSizeMeansMidnightAndNoCrash)
{
    shmctl(shmget(1437, 0, 0), IPC_RMID, nullptr); // made by the bridge of an earlier case, where cases share a process
    const int segment = shmget(1437, 4, IPC_CREAT | 0666);
    ASSERT_GE(segment, 0);
    startJoined();
    auto client = connectController();

    EXPECT_EQ(client.take({{videoLevel, 0, 5, 7}}), std::vector<std::uint32_t>{0});

    const auto target = record().waitForTarget(Signal::Video, 7);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->when, 0x02000000U);
    EXPECT_NE(bridge().errors().find("shmget"), std::string::npos);
    shmctl(segment, IPC_RMID, nullptr);
}

TEST_F(StartStopTest, TargetsCarryTheHouseTimecode)
{
    const int segment = shmget(1437, 32, IPC_CREAT | 0666);
    ASSERT_GE(segment, 0);
    auto* const address = static_cast<std::uint32_t*>(shmat(segment, nullptr, 0));
    *address = 0x01000bb8; // 25 frames a second, one minute
    startJoined();
    auto client = connectController();

    ASSERT_EQ(client.take({{videoLevel, 0, 5, 7}}), std::vector<std::uint32_t>{0});

    const auto target = record().waitForTarget(Signal::Video, 7);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->when, 0x01000bb8U);
    shmdt(address);
    shmctl(segment, IPC_RMID, nullptr);
}
