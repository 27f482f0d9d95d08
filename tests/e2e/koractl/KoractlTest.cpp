#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/TempDir.h"

#include <csignal>
#include <fstream>
#include <sstream>

using koraclient::LprCommand;
using testsupport::ChildProcess;

namespace
{

/// The real koractl beside the real bridge.
class Koractl : public e2e::BridgeFixture
{
protected:
    struct Outcome
    {
        int status;
        std::string out;
        std::string err;
    };

    static Outcome run(const std::vector<std::string>& arguments)
    {
        ChildProcess koractl(testsupport::programPath("koractl"), arguments, {.environment = {}, .closeInput = true});
        const int status = koractl.waitForExit().value_or(-1);
        return {status, koractl.output(), koractl.errors()};
    }

    std::string file(const std::string& name) const { return (m_directory.path() / name).string(); }

    static std::string withoutTime(const std::string& path)
    {
        std::stringstream text;
        text << std::ifstream(path).rdbuf();
        const std::string all = text.str();
        return all.substr(all.find("\nlevel "));
    }

    static bool waitForState(koraclient::KoraClient& client, std::uint32_t output, std::uint32_t state)
    {
        return testsupport::waitUntil(
            [&] { return client.outputStatus(2, e2e::videoLevel, output, 1).entries.front().lprState == state; });
    }

private:
    testsupport::TempDir m_directory;
};

} // namespace

TEST_F(Koractl, BackupIsRestoredOverTakesAndLocksMadeSince)
{
    startJoined();
    koraclient::KoraClient client = connectController();
    std::vector<koraclient::TakeEntry> routes;
    for (std::uint32_t output = 1; output <= 288; ++output)
    {
        routes.push_back({.level = 1, .lprId = 0, .input = 289 - output, .output = output});
    }
    (void)client.take(routes);
    ASSERT_EQ(client.setOutputLpr({{1, 7, LprCommand::lock, 42}, {1, 8, LprCommand::protect, 43}}).status, 0U);
    ASSERT_TRUE(waitForInput(client, 1, 288, 1));
    ASSERT_TRUE(waitForState(client, 8, 2));
    ASSERT_EQ(run({"backup", file("wanted"), "--level", "1"}).out,
              "level 1: 288 outputs, 288 routes, 2 locked or protected\n");

    for (koraclient::TakeEntry& route : routes)
    {
        route.input = 5;
    }
    (void)client.take(routes); // output 7 stays: it is locked
    ASSERT_EQ(client.setOutputLpr({{1, 8, LprCommand::release, 0}, {1, 9, LprCommand::lock, 44}}).status, 0U);
    ASSERT_TRUE(waitForState(client, 9, 1));
    const Outcome dryRun = run({"restore", file("wanted"), "--dry-run"});
    const Outcome refused = run({"restore", file("wanted")});
    ASSERT_TRUE(waitForInput(client, 1, 288, 1));
    const Outcome forced = run({"restore", file("wanted"), "--force"});

    EXPECT_EQ(dryRun.status, 1);
    EXPECT_NE(dryRun.out.find("level 1: 288 outputs in the file, 2 as wanted, 285 would be set, 1 would not be set\n"),
              std::string::npos)
        << dryRun.out;
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.out.find("  output 9 is locked by 44\n"), std::string::npos) << refused.out;
    EXPECT_EQ(forced.status, 0) << forced.out;
    EXPECT_TRUE(waitForInput(client, 1, 9, 280));
    EXPECT_TRUE(waitForState(client, 8, 2));
    ASSERT_EQ(run({"backup", file("found"), "--level", "1"}).status, 0);
    EXPECT_EQ(withoutTime(file("found")), withoutTime(file("wanted")));
}

TEST_F(Koractl, WatchOutlivesARestartOfTheBridgeAndTellsWhatDiffers)
{
    startJoined();
    koraclient::KoraClient client = connectController();
    ASSERT_EQ(client.take({{.level = 1, .lprId = 42, .input = 5, .output = 7}}).front(), 0U);
    ASSERT_TRUE(waitForInput(client, 1, 7, 5));
    ChildProcess sut(testsupport::programPath("koractl"), {"watch", "1", "--interval", "50ms"});
    ASSERT_TRUE(sut.waitForOutput("output   288  input     -  released            no route\n")) << sut.errors();

    bridge().signal(SIGKILL);
    ASSERT_TRUE(sut.waitForErrors("; trying to connect again\n")) << sut.errors();
    router().setStatus(e2e::Signal::Video, xpt(8, 6, 9));
    startBridge();

    EXPECT_TRUE(sut.waitForErrors("koractl: connected again after ", std::chrono::seconds(30))) << sut.errors();
    EXPECT_TRUE(sut.waitForOutput("level   1  output     8  input     6  released\n", std::chrono::seconds(30)))
        << sut.output();
    sut.signal(SIGINT);
    EXPECT_EQ(sut.waitForExit(), 0);
}
