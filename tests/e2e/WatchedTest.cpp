// What the bridge says of itself to those who watch it: the service manager, and the collector of metrics.
#include "tests/e2e/hostile/HostilePub.h"
#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/SocketAddress.h"
#include "tests/support/TempDir.h"
#include "tests/support/TimeFactor.h"

#include <poll.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace e2e;
using namespace std::chrono_literals;
using com::tallowcrest::dds_::routing::RouterMember;
using com::tallowcrest::routing::TopicName;
using testsupport::ChildProcess;
using testsupport::waitUntil;

namespace
{

/// The service manager's end of what the bridge tells.
class Manager
{
public:
    explicit Manager(const std::filesystem::path& path) : m_socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.string().copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ~Manager() { ::close(m_socket); }
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    /// The next message; empty when none comes within the time.
    std::string next(std::chrono::milliseconds time)
    {
        pollfd wait{m_socket, POLLIN, 0};
        std::array<char, 4096> text{};
        if (::poll(&wait, 1, static_cast<int>(time.count())) <= 0)
        {
            return "";
        }
        const ssize_t size = ::recv(m_socket, text.data(), text.size(), 0);
        return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }
    /// Whether a message that holds the line comes in time; those before it are dropped.
    bool waitFor(const std::string& line)
    {
        const auto end = std::chrono::steady_clock::now() + testsupport::scaled(20s);
        while (std::chrono::steady_clock::now() < end)
        {
            std::istringstream message(next(1s));
            for (std::string one; std::getline(message, one);)
            {
                if (one == line)
                {
                    return true;
                }
            }
        }
        return false;
    }

private:
    const int m_socket;
};

/// Holds one thread of a program, as a debugger does.
class HeldThread
{
public:
    HeldThread(pid_t process, const std::string& name)
    {
        for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task"))
        {
            std::string comm;
            std::getline(std::ifstream(task.path() / "comm"), comm);
            if (comm == name)
            {
                m_thread = std::stoi(task.path().filename().string());
            }
        }
        EXPECT_EQ(::ptrace(PTRACE_SEIZE, m_thread, nullptr, nullptr), 0) << name << ": " << std::strerror(errno);
        EXPECT_EQ(::ptrace(PTRACE_INTERRUPT, m_thread, nullptr, nullptr), 0);
        EXPECT_EQ(::waitpid(m_thread, nullptr, __WALL), m_thread);
    }
    ~HeldThread() { EXPECT_EQ(::ptrace(PTRACE_DETACH, m_thread, nullptr, nullptr), 0); }
    HeldThread(const HeldThread&) = delete;
    HeldThread& operator=(const HeldThread&) = delete;

private:
    pid_t m_thread = -1;
};

class WatchedTest : public BridgeFixture
{
protected:
    static constexpr std::chrono::milliseconds watchdogTime{900};

    void start(std::map<std::string, std::string> environment = {})
    {
        environment.insert({{"NOTIFY_SOCKET", socketPath()},
                            {"WATCHDOG_USEC", std::to_string(std::chrono::microseconds(watchdogTime).count())},
                            {"KORABRIDGE_DURABLE_STORE", (m_directory.path() / "store.db").string()}});
        m_bridge = std::make_unique<ChildProcess>(testsupport::programPath("korabridge"),
                                                  std::vector<std::string>{"17", "3", "Bridge One", "watched"},
                                                  ChildProcess::Options{.environment = environment});
    }
    std::string socketPath() const { return (m_directory.path() / "notify").string(); }
    std::filesystem::path metricsFile() const { return m_directory.path() / "metrics.prom"; }
    std::string metrics() const
    {
        std::ifstream file(metricsFile());
        return {std::istreambuf_iterator<char>(file), {}};
    }

    testsupport::TempDir m_directory;
    Manager m_manager{socketPath()};
};

bool hasLine(const std::string& text, const std::string& line)
{
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

} // namespace

TEST_F(WatchedTest, IsReadyWhenOperatorsFindItsConsole)
{
    start();

    ASSERT_TRUE(m_manager.waitFor("READY=1"));
    EXPECT_TRUE(testsupport::isListening(telnetPort));
    // Nobody else may take the controllers' port any more.
    const int other = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = testsupport::socketAddress("0.0.0.0", koraPort);
    EXPECT_NE(::bind(other, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ::close(other);
}

TEST_F(WatchedTest, TellsWhatMatters)
{
    start();
    EXPECT_TRUE(m_manager.waitFor("STATUS=no router for frame 17 yet, 0 controllers, store ok"));

    router().announce();
    EXPECT_TRUE(m_manager.waitFor("STATUS=joined R1, 0 controllers, store ok"));
    {
        auto client = connectController();
        EXPECT_TRUE(m_manager.waitFor("STATUS=joined R1, 1 controller, store ok"));
    }
    EXPECT_TRUE(m_manager.waitFor("STATUS=joined R1, 0 controllers, store ok"));

    EXPECT_EQ(stopBridge(), 0);
    EXPECT_TRUE(m_manager.waitFor("STOPPING=1"));
}

TEST_F(WatchedTest, TellsThatTheStoreIsNotInUse)
{
    start({{"KORABRIDGE_DURABLE_STORE", "/proc/no/such/store.db"}});

    EXPECT_TRUE(m_manager.waitFor("READY=1"));
    router().announce();
    EXPECT_TRUE(m_manager.waitFor("STATUS=joined R1, 0 controllers, store not in use"));
}

TEST_F(WatchedTest, WaitsForItsConsoleButNotForEver)
{
    const int other = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = testsupport::socketAddress("0.0.0.0", telnetPort);
    ASSERT_EQ(::bind(other, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(other, 1), 0);
    const auto begin = std::chrono::steady_clock::now();

    start();

    EXPECT_TRUE(m_manager.waitFor("READY=1"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 5s);
    ::close(other);
}

TEST_F(WatchedTest, ApartmentThatHangsFeedsNoWatchdog)
{
    start();
    ASSERT_TRUE(m_manager.waitFor("READY=1"));
    for (int i = 0; i < 3; ++i)
    {
        ASSERT_NE(m_manager.next(testsupport::scaled(10s)), "");
    }
    {
        const HeldThread held(bridge().pid(), "Bridge Apartmen");
        while (!m_manager.next(0ms).empty())
        {}
        EXPECT_EQ(m_manager.next(watchdogTime), "");
    }
    EXPECT_TRUE(m_manager.waitFor("WATCHDOG=1"));
}

TEST_F(WatchedTest, WritesWhatItCounts)
{
    start({{"KORABRIDGE_METRICS_FILE", metricsFile().string()}});
    router().announce();
    waitForJoin();
    {
        auto client = connectController();
        EXPECT_EQ(client.take({{videoLevel, 0, 5, 7}, {audioLevel, 0, 1, 1}}), (std::vector<std::uint32_t>{0, 0}));
        EXPECT_EQ(client.setOutputLpr({{videoLevel, 7, koraclient::LprCommand::lock, 42}}).results,
                  (std::vector<std::uint32_t>{0}));
        EXPECT_EQ(client.take({{videoLevel, 99, 5, 7}, {9, 0, 1, 1}}), (std::vector<std::uint32_t>{12, 5}));
        client.portPresent();
    }
    EXPECT_TRUE(waitUntil([this] { return !metrics().empty(); })) << "one is written at the start";
    HostilePub<RouterMember> hostile(TopicName::RouterMember, "");
    hostile.write({frameId, "*", 0});
    EXPECT_TRUE(bridge().waitForOutput("the partition holds a wildcard"));
    // The recorder looks a few times a second, the file follows within ten.
    const std::string readers = R"(korabridge_target_readers_matched{topic="TopicMacroXptOutputVideoTarget"} )";
    EXPECT_TRUE(waitUntil([&] { return hasLine(metrics(), readers + "1"); }, 30s)) << metrics();

    EXPECT_EQ(stopBridge(), 0);

    const std::string text = metrics();
    for (const char* const line : {
             R"(# TYPE korabridge_answer_seconds histogram)",
             R"(korabridge_answer_seconds_count 4)",
             R"(korabridge_build_info{version=")" KORABRIDGE_VERSION R"("} 1)",
             R"(korabridge_controllers_accepted_total 1)",
             R"(korabridge_controllers_connected 0)",
             R"(korabridge_join_seconds_count 1)",
             R"(korabridge_requests_total{request="take"} 2)",
             R"(korabridge_requests_total{request="lock"} 1)",
             R"(korabridge_requests_total{request="port_presence"} 1)",
             R"(korabridge_take_entries_total{result="done"} 2)",
             R"(korabridge_take_entries_total{result="locked"} 1)",
             R"(korabridge_take_entries_total{result="no_such_level"} 1)",
             R"(korabridge_lock_entries_total{result="done"} 1)",
             R"(korabridge_store_usable 1)",
             R"(korabridge_gate_dropped_total{reason="partition_wildcard"} 1)",
             R"(korabridge_gate_dropped_total{reason="no_place"} 0)",
             R"(korabridge_neighbours 0)",
             R"(korabridge_target_readers_matched{topic="TopicMacroXptOutputAudioTarget"} 1)",
         })
    {
        EXPECT_TRUE(hasLine(text, line)) << line << " is not in\n" << text;
    }
    EXPECT_EQ(std::filesystem::status(metricsFile()).permissions(), std::filesystem::perms(0644));
    EXPECT_FALSE(std::filesystem::exists(metricsFile().string() + ".new"));
    ChildProcess check("/bin/sh", {"-c", "exec promtool check metrics <" + metricsFile().string()});
    EXPECT_EQ(check.waitForExit(), 0) << check.output() << check.errors();
    ChildProcess expressions(testsupport::sourceFolder() / "tests/monitoring/expressions.py", {metricsFile().string()});
    EXPECT_EQ(expressions.waitForExit(), 0) << "dashboard and alerts: " << expressions.output() << expressions.errors();
}

TEST_F(WatchedTest, MetricsThatCannotBeWrittenHoldUpNobody)
{
    start({{"KORABRIDGE_METRICS_FILE", (m_directory.path() / "none" / "metrics.prom").string()}});
    router().announce();

    waitForJoin();

    EXPECT_TRUE(bridge().waitForOutput("metrics are not written: cannot write "));
    EXPECT_EQ(connectController().take({{videoLevel, 0, 5, 7}}), (std::vector<std::uint32_t>{0}));
    EXPECT_EQ(stopBridge(), 0);
}
