#include "tests/support/ListeningDescriptor.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/koraserver/ServerFixture.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

using com::tallowcrest::util::UniqueFd;
using testsupport::listeningDescriptor;
using testsupport::TcpSocket;
using testsupport::waitForClosedPort;
using testsupport::waitForPort;
using testsupport::waitUntil;
using Clock = std::chrono::steady_clock;
using Events = std::vector<std::string>;
using namespace std::chrono_literals;

namespace
{

using ServerTest = ServerFixture;

} // namespace

TEST_F(ServerTest, RunsFromStartToStop)
{
    EXPECT_FALSE(m_sut->isRunning());
    m_sut->start();
    EXPECT_TRUE(m_sut->isRunning());
    m_sut->start();
    EXPECT_TRUE(m_sut->isRunning());
    m_sut->stop();
    EXPECT_FALSE(m_sut->isRunning());
    m_sut->stop();
    EXPECT_FALSE(m_sut->isRunning());
}

TEST_F(ServerTest, ListensOnlyWhileConnectedToTheRouter)
{
    m_sut->start();
    EXPECT_FALSE(m_sut->isConnectedToRouter());
    EXPECT_FALSE(waitForPort(serverPort, 200ms));
    EXPECT_FALSE(TcpSocket::connect(serverPort).has_value());

    m_sut->connectToRouter();
    EXPECT_TRUE(m_sut->isConnectedToRouter());
    EXPECT_TRUE(waitForPort(serverPort));

    m_sut->disconnectFromRouter();
    EXPECT_FALSE(m_sut->isConnectedToRouter());
    EXPECT_TRUE(waitForClosedPort(serverPort));
    EXPECT_EQ(m_log.count("INFO connected to router\n"), 1U);
    EXPECT_EQ(m_log.count("INFO not connected to router\n"), 1U);
}

TEST_F(ServerTest, RouterConnectedBeforeTheStartIsNotForgotten)
{
    m_sut->connectToRouter();
    m_sut->start();

    EXPECT_TRUE(waitForPort(serverPort));
}

TEST_F(ServerTest, ListenerHearsOfAClientBeforeItsConnectionIsMade)
{
    startConnected();

    connectClient();

    EXPECT_EQ(m_events.all(), (Events{"notify 0", "create 0"}));
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ASSERT_EQ(::getsockname(m_clients[0].fd(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    EXPECT_EQ(m_factory->ports(), std::vector{ntohs(address.sin_port)});
}

TEST_F(ServerTest, AcceptedSocketCarriesItsOptions)
{
    startConnected();

    connectClient();

    const int socket = m_factory->socketOf(0);
    linger value{};
    socklen_t size = sizeof value;
    ASSERT_EQ(::getsockopt(socket, SOL_SOCKET, SO_LINGER, &value, &size), 0);
    EXPECT_EQ(value.l_onoff, 1);
    EXPECT_EQ(value.l_linger, 1);
    int number = 0;
    size = sizeof number;
    ASSERT_EQ(::getsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &number, &size), 0);
    EXPECT_EQ(number, 1);
    ASSERT_EQ(::getsockopt(socket, IPPROTO_TCP, TCP_KEEPIDLE, &number, &size), 0);
    EXPECT_EQ(number, 300) << "the system's own default is 7200";
    ASSERT_EQ(::getsockopt(socket, IPPROTO_TCP, TCP_KEEPINTVL, &number, &size), 0);
    EXPECT_EQ(number, 10) << "the system's own default is 75";
    ASSERT_EQ(::getsockopt(socket, IPPROTO_TCP, TCP_KEEPCNT, &number, &size), 0);
    EXPECT_EQ(number, 3) << "the system's own default is 9";
}

TEST_F(ServerTest, ControllersAreProbedSoonerOnceAllSlotsAreTakenNewcomersToo)
{
    startConnected();
    ASSERT_NO_FATAL_FAILURE(fillAllSlots());
    const auto option = [this](std::uint32_t id, int name) {
        int number = 0;
        socklen_t size = sizeof number;
        EXPECT_EQ(::getsockopt(m_factory->socketOf(id), IPPROTO_TCP, name, &number, &size), 0);
        return number;
    };

    EXPECT_TRUE(waitUntil([&] { return option(0, TCP_KEEPIDLE) == 30 && option(15, TCP_KEEPIDLE) == 30; }));
    EXPECT_EQ(option(0, TCP_KEEPINTVL), 5);
    EXPECT_EQ(option(0, TCP_KEEPCNT), 3);

    m_factory->letDie(9);
    ASSERT_TRUE(waitForPort(serverPort));
    ASSERT_NO_FATAL_FAILURE(connectClient());
    EXPECT_EQ(option(9, TCP_KEEPIDLE), 30);
}

TEST_F(ServerTest, ControllerThatIsThereIsNotAskedInVain)
{
    startConnected();
    connectClient();

    const auto signs = peerSigns(m_factory->socketOf(0));

    ASSERT_TRUE(signs.has_value());
    EXPECT_FALSE(signs->isAskedInVain);
    EXPECT_LT(signs->sinceConfirmation, testsupport::scaled(10s));
    EXPECT_FALSE(peerSigns(-1).has_value());
}

TEST_F(ServerTest, AcceptedClientIsLoggedWithAddressDescriptorAndSlot)
{
    startConnected();

    connectClient();

    ASSERT_TRUE(m_log.waitFor("INFO connectionId 0"));
    const auto lines = m_log.texts();
    const auto accepted = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.starts_with("INFO accepted tcp connection from 127.0.0.1, fd = ");
    });
    ASSERT_NE(accepted, lines.end());
    EXPECT_EQ(*(accepted + 1), "INFO connectionId 0");
}

TEST_F(ServerTest, DeadClientIsRemovedAndItsSlotIsTheNextToBeUsed)
{
    startConnected();
    for (int i = 0; i < 4; ++i)
    {
        ASSERT_NO_FATAL_FAILURE(connectClient());
    }

    m_factory->letDie(3);
    m_factory->letDie(1);
    ASSERT_TRUE(waitUntil([this] { return m_log.countHolding("INFO removed dead tcp connection, fd = ") == 2; }));
    ASSERT_NO_FATAL_FAILURE(connectClient());
    ASSERT_NO_FATAL_FAILURE(connectClient());
    ASSERT_NO_FATAL_FAILURE(connectClient());

    auto events = m_events.all();
    events.erase(events.begin(), events.begin() + 8);
    std::sort(events.begin(), events.begin() + 2); // the two may have died in one pass or in two
    EXPECT_EQ(events, (Events{"release 1", "release 3", "notify 1", "create 1", "notify 3", "create 3", "notify 4",
                              "create 4"}));
}

TEST_F(ServerTest, PortIsClosedWhileAllSlotsAreTakenAndOpensWhenOneIsFree)
{
    startConnected();
    ASSERT_NO_FATAL_FAILURE(fillAllSlots());
    EXPECT_EQ(m_clients.size(), 16U) << "as controllers know it";
    ASSERT_TRUE(waitForClosedPort(serverPort));
    EXPECT_FALSE(TcpSocket::connect(serverPort).has_value());

    m_factory->letDie(9);
    ASSERT_TRUE(waitForPort(serverPort));
    ASSERT_NO_FATAL_FAILURE(connectClient());

    EXPECT_EQ(m_events.all().back(), "create 9");
    EXPECT_TRUE(waitForClosedPort(serverPort));
    EXPECT_EQ(m_log.countHolding("would exceed max connections"), 0U);
}

TEST_F(ServerTest, DisconnectTellsAllClientsBeforeItWaitsForOneAndReleasesThem)
{
    startConnected();
    connectClient();
    connectClient();

    m_sut->disconnectFromRouter();

    ASSERT_TRUE(m_events.waitForCount(8));
    EXPECT_EQ(m_events.all(), (Events{"notify 0", "create 0", "notify 1", "create 1", "requestStop 0", "requestStop 1",
                                      "release 0", "release 1"}));
    EXPECT_TRUE(waitForClosedPort(serverPort));
    EXPECT_TRUE(m_clients[0].waitForClose());
    EXPECT_TRUE(m_clients[1].waitForClose());
}

TEST_F(ServerTest, DisconnectAtOnceFollowedByConnectStillDropsTheClients)
{
    startConnected();
    connectClient();

    m_sut->disconnectFromRouter();
    m_sut->connectToRouter();

    EXPECT_TRUE(m_clients[0].waitForClose());
    EXPECT_TRUE(waitForPort(serverPort));
    connectClient();
    EXPECT_EQ(m_events.all(), (Events{"notify 0", "create 0", "requestStop 0", "release 0", "notify 0", "create 0"}));
}

TEST_F(ServerTest, StopClosesThePortAndReleasesTheClients)
{
    startConnected();
    connectClient();

    m_sut->stop();

    EXPECT_FALSE(testsupport::isListening(serverPort));
    EXPECT_EQ(m_events.all().back(), "release 0");
}

TEST_F(ServerTest, StartsAgainAfterStop)
{
    startConnected();
    m_sut->stop();

    m_sut->start();

    ASSERT_TRUE(waitForPort(serverPort));
    connectClient();
}

TEST_F(ServerTest, DestructionStopsIt)
{
    startConnected();
    connectClient();

    m_sut.reset();

    EXPECT_FALSE(testsupport::isListening(serverPort));
    EXPECT_EQ(m_events.all().back(), "release 0");
}

TEST_F(ServerTest, IsListedAsATask)
{
    m_sut->start();

    testing::internal::CaptureStdout();
    com::tallowcrest::apartment::showTasks();
    const std::string table = testing::internal::GetCapturedStdout();

    EXPECT_NE(table.find("    running"), std::string::npos);
    EXPECT_NE(table.find(" Kora Server\n"), std::string::npos);
}

TEST_F(ServerTest, StatsShowTheCounters)
{
    startConnected();
    connectClient();
    connectClient();

    EXPECT_EQ(stats(), "--------------------------------- Server Stats ---------------------------------\n"
                       "Tcp Server Socket Reopen Cnt:        0    Tcp Accepted Cnt:                    2\n"
                       "Tcp Server Open Error Cnt:           0    Set Socket Option Error Cnt:         0\n");
}

TEST_F(ServerTest, ConnectionTableIsPrintedOnceByRequest)
{
    startConnected();
    connectClient();
    connectClient();
    testing::internal::CaptureStdout();

    m_sut->requestShowConnections();
    const bool shown = m_events.waitForCount(6);
    connectClient(); // a pass later
    const std::string table = testing::internal::GetCapturedStdout();

    ASSERT_TRUE(shown);
    auto events = m_events.all();
    EXPECT_EQ(Events(events.begin() + 4, events.begin() + 6), (Events{"show 0", "show 1"}));
    EXPECT_EQ(std::count(events.begin(), events.end(), "show 0"), 1);
    std::string rows = "clientFd         Ip Addr\n-------- ---------------\n";
    std::string commands;
    for (const std::uint32_t id : {0U, 1U})
    {
        const std::string socket = std::to_string(m_factory->socketOf(id));
        rows += std::string(8 - socket.size(), ' ') + socket + " 127.000.000.001\n";
        commands += "\nCommands of clientFd " + socket + "\ncommands of " + std::to_string(id) + "\n";
    }
    EXPECT_EQ(table, rows + commands) << "the table first, as a whole";
}

TEST_F(ServerTest, PassThatThrowsIsLoggedAndTheNextOneGoesOn)
{
    startConnected();
    connectClient();
    m_factory->showFails = true;

    m_sut->requestShowConnections();

    EXPECT_TRUE(m_log.waitFor("ERROR Kora Server pass ended by an exception: no console"));
    EXPECT_TRUE(m_sut->isRunning());
    auto client = TcpSocket::connect(serverPort);
    ASSERT_TRUE(client.has_value());
    EXPECT_TRUE(m_events.waitForCount(5));
    EXPECT_EQ(m_events.all(), (Events{"notify 0", "create 0", "show 0", "notify 1", "create 1"}));
}

TEST_F(ServerTest, ClientWhoseConnectionCannotBeMadeIsRejectedAndTheServerLivesOn)
{
    startConnected();
    m_factory->failing = true;
    auto rejected = TcpSocket::connect(serverPort);
    ASSERT_TRUE(rejected.has_value());
    EXPECT_TRUE(rejected->waitForClose());
    EXPECT_TRUE(m_log.waitFor("WARN Connection rejected from 127.000.000.001 failed starting it, no thread"));
    auto again = TcpSocket::connect(serverPort);
    ASSERT_TRUE(again.has_value());
    EXPECT_TRUE(again->waitForClose());

    m_factory->failing = false;
    const std::size_t events = m_events.all().size();
    m_clients.push_back(*TcpSocket::connect(serverPort));
    ASSERT_TRUE(m_events.waitForCount(events + 2));

    EXPECT_EQ(m_events.all().back(), "create 0");
    EXPECT_EQ(m_log.count("WARN Connection rejected from 127.000.000.001 failed starting it, no thread"), 1U)
        << "repeats are counted, not repeated";
    EXPECT_TRUE(m_log.waitForHolding("WARN repeated 1 times: Connection rejected from 127.000.000.001"));
    EXPECT_EQ(m_log.countHolding("Rejecting connection: failed"), 0U) << "its socket was shut down and closed";
}

TEST_F(ServerTest, AcceptThatASignalCutsShortIsTriedAgainInSilence)
{
    if (!startConnectedWithout({{SYS_accept4, EINTR}}))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    ASSERT_TRUE(waitForPort(serverPort));

    const auto client = TcpSocket::connect(serverPort);

    ASSERT_TRUE(client.has_value());
    m_sut->disconnectFromRouter();
    ASSERT_TRUE(waitForClosedPort(serverPort));
    EXPECT_EQ(m_log.countHolding("WARN "), 0U);
}

TEST_F(ServerTest, PortThatCannotListenIsReported)
{
    if (!startConnectedWithout({{SYS_listen, ENOBUFS}}))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    EXPECT_TRUE(m_log.waitForHolding("No buffer space available"));
}

TEST_F(ServerTest, TakenPortIsReportedOnceAndTakenWhenItIsFree)
{
    auto other = std::get<UniqueFd>(openControllerPort(nullptr));
    m_sut->connectToRouter();
    m_sut->start();
    ASSERT_TRUE(m_log.waitForHolding("to address/port 0.0.0.0, Address already in use"));

    other.reset();

    EXPECT_TRUE(m_log.waitForHolding("INFO bind IP addr 0x0 (0.0.0.0) Port: 5194 Socket "));
    EXPECT_EQ(m_log.countHolding("WARN failed binding socket"), 1U);
    EXPECT_TRUE(waitForPort(serverPort));
    connectClient();
}

TEST_F(ServerTest, NoDescriptorForAClientIsReportedOnceWithoutSpinningAndTheClientIsAcceptedLater)
{
    startConnected();
    const int listening = listeningDescriptor();
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const UniqueFd client(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(serverPort);

    const rlimit none{3, before.rlim_max}; // standard input, output and error exist
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    rusage usedBefore{};
    ::getrusage(RUSAGE_SELF, &usedBefore);
    const int connected = ::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const std::string text =
        "WARN listen failed socket " + std::to_string(listening) + " to address/port 0.0.0.0, Too many open files";
    const bool reported = m_log.waitFor(text);
    static_cast<void>(waitUntil([] { return false; }, 1500ms)); // long enough for a spin to show
    rusage usedAfter{};
    ::getrusage(RUSAGE_SELF, &usedAfter);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);

    EXPECT_EQ(connected, 0);
    EXPECT_TRUE(reported);
    const auto microseconds = [](const rusage& used) {
        return 1000000 * (used.ru_utime.tv_sec + used.ru_stime.tv_sec) + used.ru_utime.tv_usec + used.ru_stime.tv_usec;
    };
    EXPECT_LT(microseconds(usedAfter) - microseconds(usedBefore), testsupport::scaled(700000));
    EXPECT_EQ(m_log.count(text), 1U);
    EXPECT_TRUE(m_events.waitForCount(2)) << "accepted after all";
}

TEST_F(ServerTest, SocketThatListensNoMoreIsReplaced)
{
    startConnected();
    const int listening = listeningDescriptor();
    ASSERT_GE(listening, 0);

    ASSERT_EQ(::shutdown(listening, SHUT_RDWR), 0);

    EXPECT_TRUE(m_log.waitFor("WARN listen failed socket " + std::to_string(listening) +
                              " to address/port 0.0.0.0, Invalid argument"));
    EXPECT_TRUE(m_log.waitFor("INFO shutting down TCP server socket prior to re-opening"));
    EXPECT_TRUE(waitForPort(serverPort));
    connectClient();
    EXPECT_NE(stats().find("Tcp Server Socket Reopen Cnt:        1 "), std::string::npos);
}

TEST_F(ServerTest, NoThreadForItThrowsAndALaterStartSucceeds)
{
    const auto error = testsupport::errorWithoutAThread([this] { m_sut->start(); });

    if (!error)
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    EXPECT_EQ(*error, EAGAIN);
    EXPECT_FALSE(m_sut->isRunning());
    startConnected();
}

TEST_F(ServerTest, ClientWhoseOptionsCannotBeSetIsRejected)
{
    if (!startConnectedWithout(
            {{SYS_setsockopt, ENOBUFS, {{1, IPPROTO_TCP}, {2, TCP_KEEPIDLE}}}, {SYS_shutdown, ENOTCONN}}))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    ASSERT_TRUE(waitForPort(serverPort));

    const auto client = TcpSocket::connect(serverPort);

    ASSERT_TRUE(client.has_value());
    EXPECT_TRUE(client->waitForClose());
    EXPECT_TRUE(m_log.waitFor("WARN Connection rejected from 127.000.000.001 failed setting socket options"));
    EXPECT_EQ(m_log.countHolding("WARN failed setting TCP_KEEPIDLE socket option on socket "), 1U);
    EXPECT_EQ(m_log.countHolding("INFO Rejecting connection: failed shutdown on socket "), 1U);
    EXPECT_EQ(m_events.all(), Events{}) << "no slot is used";
}

TEST_F(ServerTest, WaitThatFailsIsReportedOnceAndTriedAgainEachSecondWithoutSpinning)
{
    if (!startConnectedWithout(testsupport::failingPoll(ENOMEM)))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    ASSERT_TRUE(m_log.waitForHolding("WARN select failed socket "));
    const auto begin = Clock::now();
    const auto opened = [this] { return m_log.countHolding("INFO bind IP addr"); };
    const std::size_t before = opened();

    ASSERT_TRUE(waitUntil([&] { return opened() >= before + 3; })) << "one a second";

    EXPECT_GE(Clock::now() - begin, 2s) << "the first may have been due";
    EXPECT_EQ(m_log.countHolding("WARN select failed socket "), 1U);
    EXPECT_TRUE(m_sut->isRunning());
    m_sut->stop();
    EXPECT_FALSE(m_sut->isRunning());
}
