#include "koraclient/Errors.h"
#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/TempDir.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <set>
#include <string>
#include <vector>

using testsupport::ChildProcess;

namespace
{

/// The real koractl examines the real bridge, whose log and metrics are files of the test's own.
class Doctor : public e2e::BridgeFixture
{
protected:
    struct Outcome
    {
        int status;
        nlohmann::json report;
        std::string errors;

        /// But for a slow answer, which says nothing of a bridge on a machine that runs other tests.
        std::set<std::string> findings() const
        {
            std::set<std::string> names;
            for (const auto& each : report["findings"])
            {
                if (each["severity"] != "note" && each["name"] != "slow")
                {
                    names.insert(each["name"]);
                }
            }
            return names;
        }
        bool isSlow() const { return report.dump().find(R"("name":"slow")") != std::string::npos; }
    };

    /// A bridge with a store of its own that writes metrics, and its log to its standard output.
    void start() { start(file("durable.db")); }
    void start(const std::string& store)
    {
        m_bridge = std::make_unique<ChildProcess>(
            testsupport::programPath("korabridge"), std::vector<std::string>{"17", "3", "Bridge One", "under test"},
            ChildProcess::Options{
                {{"KORABRIDGE_METRICS_FILE", file("metrics.prom")}, {"KORABRIDGE_DURABLE_STORE", store}}, false});
    }
    /// With all that the bridge's own machine tells.
    Outcome examine(const std::string& host = "127.0.0.1", const std::string& timeout = "5s")
    {
        testsupport::writeFile(file("log"), m_bridge ? m_bridge->output() : "");
        return examine(host, timeout, file("log"), file("metrics.prom"));
    }
    /// With nothing but what controllers and operators see.
    Outcome examineWithoutFiles() { return examine("127.0.0.1", "5s", file("no log"), file("no metrics")); }
    std::string file(const std::string& name) const { return (m_directory.path() / name).string(); }

private:
    Outcome examine(const std::string& host, const std::string& timeout, const std::string& log,
                    const std::string& metrics)
    {
        ChildProcess koractl(testsupport::programPath("koractl"),
                             {"--json", "--timeout", timeout, "doctor", host, "--log", log, "--metrics", metrics},
                             {.environment = {}, .closeInput = true});
        const int status = koractl.waitForExit().value_or(-1);
        return {status, nlohmann::json::parse(koractl.output()), koractl.errors()};
    }

    testsupport::TempDir m_directory;
};

using Names = std::set<std::string>;

} // namespace

TEST_F(Doctor, HealthyBridgeHasNothingWrongAndItsVersionIsShown)
{
    start();
    router().announce();
    waitForJoin();
    koraclient::KoraClient client = connectController();
    ASSERT_EQ(client.take({{.level = 1, .lprId = 0, .input = 5, .output = 7}}).front(), 0U);
    ASSERT_TRUE(waitForInput(client, 1, 7, 5));

    const Outcome outcome = examine();

    EXPECT_EQ(outcome.findings(), Names{}) << outcome.report.dump(2);
    EXPECT_EQ(outcome.status, outcome.isSlow() ? 1 : 0);
    EXPECT_EQ(outcome.report["version"], KORABRIDGE_VERSION);
    EXPECT_EQ(client.portPresent(), 0U) << "the other controller was not disturbed";
}

TEST_F(Doctor, NobodyListeningIsABridgeThatDoesNotRun)
{
    const Outcome outcome = examine();

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.findings(), Names{"not-running"}) << outcome.report.dump(2);
}

TEST_F(Doctor, BridgeWithoutARouterIsToldByItsConsole)
{
    start();
    ASSERT_TRUE(bridge().waitForOutput("Starting korabridge"));
    ASSERT_TRUE(testsupport::waitForPort(testsupport::telnetPort));

    const Outcome outcome = examineWithoutFiles();

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.findings(), Names{"no-router"}) << outcome.report.dump(2);
    EXPECT_TRUE(bridge().waitForOutput("Telnet Session Closed"));
    EXPECT_TRUE(bridge().isRunning());
}

TEST_F(Doctor, FullSlotsAreToldByTheConsole)
{
    start();
    router().announce();
    waitForJoin();
    std::vector<koraclient::KoraClient> controllers;
    for (int i = 0; i < 16; ++i)
    {
        controllers.push_back(connectController());
    }
    ASSERT_TRUE(testsupport::waitForClosedPort(testsupport::koraPort));

    const Outcome outcome = examineWithoutFiles();

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.findings(), Names{"slots-full"}) << outcome.report.dump(2);
    for (koraclient::KoraClient& each : controllers)
    {
        EXPECT_EQ(each.portPresent(), 0U);
    }
}

TEST_F(Doctor, MissingStatusIsFound)
{
    start();
    router().announce();
    waitForJoin();

    const Outcome outcome = examine();

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.findings(), Names{"status-missing"}) << outcome.report.dump(2);
}

TEST_F(Doctor, StoreThatIsNotInUseIsFound)
{
    start("/proc/no/such/store.db");
    router().announce();
    waitForJoin();
    koraclient::KoraClient client = connectController();
    ASSERT_EQ(client.take({{.level = 1, .lprId = 0, .input = 5, .output = 7}}).front(), 0U);
    ASSERT_TRUE(waitForInput(client, 1, 7, 5));
    ASSERT_TRUE(bridge().waitForOutput("targets are not kept"));

    const Outcome outcome = examine();

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.findings(), Names{"store"}) << outcome.report.dump(2);
}

TEST_F(Doctor, FirewallThatDropsLeavesNoAnswer)
{
    if (std::getenv("KORABRIDGE_IN_NAMESPACE") == nullptr)
    {
        GTEST_SKIP() << "needs a network namespace of its own";
    }
    start();
    router().announce();
    waitForJoin();
    ChildProcess firewall("/usr/sbin/nft", {"table ip wall { chain in { type filter hook input priority 0; "
                                            "tcp dport 5194 drop; }; }"});
    ASSERT_EQ(firewall.waitForExit(), 0) << firewall.errors();

    const Outcome outcome = examine("127.0.0.1", "500ms");

    EXPECT_EQ(ChildProcess("/usr/sbin/nft", {"delete table ip wall"}).waitForExit(), 0);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.findings(), Names{"no-answer"}) << outcome.report.dump(2);
}

TEST_F(Doctor, BridgeThatHangsIsSilent)
{
    start();
    router().announce();
    waitForJoin();
    bridge().signal(SIGSTOP);

    const Outcome outcome = examine("127.0.0.1", "500ms");
    bridge().signal(SIGCONT);

    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.findings().contains("silent")) << outcome.report.dump(2);
}

TEST_F(Doctor, WebServerOnThePortIsNoBridge)
{
    ChildProcess server("/usr/bin/env", {"python3", "-m", "http.server", "--bind", "127.0.0.1", "5194"});
    ASSERT_TRUE(testsupport::waitForPort(testsupport::koraPort));

    const Outcome outcome = examine("127.0.0.1", "500ms");

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.findings(), Names{"foreign"}) << outcome.report.dump(2);
}

TEST_F(Doctor, WrongHostIsNamed)
{
    const Outcome unknown = examine("no host has blanks");
    const Outcome elsewhere = examine("192.0.2.1"); // reserved for documents; here there is no way to it

    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(unknown.findings(), Names{"unknown-host"}) << unknown.report.dump(2);
    EXPECT_EQ(elsewhere.status, 1);
    EXPECT_EQ(elsewhere.findings(), Names{"unreachable"}) << elsewhere.report.dump(2);
}
