#include "tools/korapanel/CommandLine.h"

#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <sstream>
#include <stdexcept>

using namespace korapanel;

namespace
{

struct Outcome
{
    int status;
    std::string out;
    std::string err;
    std::optional<Options> options;
};

Outcome run(const std::vector<std::string>& arguments)
{
    std::ostringstream out;
    std::ostringstream err;
    std::optional<Options> found;
    const int status = runCommandLine(arguments, out, err, [&found](const Options& options) { found = options; });
    return {status, out.str(), err.str(), found};
}

} // namespace

TEST(PanelCommandLine, GivenNothingListensOnLoopbackAndLetsNobodyPress)
{
    const Outcome outcome = run({});

    ASSERT_TRUE(outcome.options);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.options->server.address, "127.0.0.1");
    EXPECT_EQ(outcome.options->server.port, 8090);
    EXPECT_EQ(outcome.options->bridge.host, "127.0.0.1");
    EXPECT_EQ(outcome.options->bridge.port, 5194);
    EXPECT_EQ(outcome.options->bridge.levels, (std::vector<std::uint32_t>{1, 2}));
    EXPECT_FALSE(outcome.options->access.isControlled);
    EXPECT_EQ(outcome.options->access.sessionTime, std::chrono::hours(12));
    EXPECT_EQ(outcome.options->lprId, 8090U);
}

TEST(PanelCommandLine, GivenOptionsReadsThem)
{
    const testsupport::TempDir folder;
    const std::string salvos = (folder.path() / "salvos").string();
    std::filesystem::create_directory(salvos);
    std::vector<std::string> arguments{"--bridge",  "board:6000", "--listen", "[::1]:9000",
                                       "--control", "--level",    "0x3"};
    arguments.insert(arguments.end(), {"--name", "panel", "--name", "other", "--lpr-id", "7", "--session", "1min"});
    arguments.insert(arguments.end(), {"--tokens", "tokens", "--names", "one", "--names", "two"});
    arguments.insert(arguments.end(), {"--salvos", salvos, "--page", folder.path().string()});

    const Outcome outcome = run(arguments);

    ASSERT_TRUE(outcome.options) << outcome.err;
    EXPECT_EQ(outcome.options->bridge.host, "board");
    EXPECT_EQ(outcome.options->bridge.port, 6000);
    EXPECT_EQ(outcome.options->bridge.levels, (std::vector<std::uint32_t>{3}));
    EXPECT_EQ(outcome.options->server.address, "::1");
    EXPECT_EQ(outcome.options->server.port, 9000);
    EXPECT_EQ(outcome.options->hostNames, (std::set<std::string>{"other", "panel"}));
    EXPECT_TRUE(outcome.options->access.isControlled);
    EXPECT_EQ(outcome.options->access.sessionTime, std::chrono::minutes(1));
    EXPECT_EQ(outcome.options->access.tokenFile, "tokens");
    EXPECT_EQ(outcome.options->lprId, 7U);
    EXPECT_EQ(outcome.options->nameFiles, (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(outcome.options->salvoFolder, salvos);
    EXPECT_EQ(outcome.options->pageFolder, folder.path().string());
}

struct UsageCase
{
    std::vector<std::string> arguments;
    const char* complaint;
};

class PanelUsage : public testing::TestWithParam<UsageCase>
{};

TEST_P(PanelUsage, GivenWrongArgumentsSaysSoInOneLineAndRunsNothing)
{
    const Outcome outcome = run(GetParam().arguments);

    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, std::string("korapanel: ") + GetParam().complaint + "\n");
    EXPECT_FALSE(outcome.options);
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, PanelUsage,
    testing::Values(
        UsageCase{{"--listen", "0.0.0.0"},
                  "--listen 0.0.0.0: others can reach this address, which needs a file of tokens (--tokens)"},
        UsageCase{{"--listen", "host.example"},
                  "--listen host.example: others can reach this address, which needs a file of tokens (--tokens)"},
        UsageCase{{"--bridge", "board:x"}, "--bridge: 'x' is not a number from 0 to 4294967295"},
        UsageCase{{"--bridge", "board:70000"}, "--bridge: 'board:70000' has no port from 0 to 65535"},
        UsageCase{{"--bridge", "board:0"}, "--bridge: nobody can be reached at port 0"},
        UsageCase{{"--level", "video"}, "--level: 'video' is not a number from 0 to 4294967295"},
        UsageCase{{"--level", "1", "--level", "0x1"}, "--level: 0x1 is there already"},
        UsageCase{{"--name", "panel.example:8090"}, "--name: 'panel.example:8090' is no host's name alone"},
        UsageCase{{"--salvos", "/none"}, "--salvos: /none is no folder"},
        UsageCase{{"--page", "/etc/passwd"}, "--page: /etc/passwd is no folder"},
        UsageCase{{"--tls-cert", "x"}, "--tls-cert and --tls-key go together"},
        UsageCase{{"--tls-cert", "/none", "--tls-key", "/none"}, "/none: cannot be read"},
        UsageCase{{"token", "add", "anna", "--read"}, "token add needs the file (--tokens)"},
        UsageCase{{"token", "add", "anna", "--tokens", "/tmp/x"}, "token add needs --read or --control"}));

TEST(PanelCommandLine, GivenTokenAddPrintsTheTokenOnceAndRunsNoPanel)
{
    const testsupport::TempDir folder;
    const std::string file = (folder.path() / "tokens").string();

    const Outcome outcome = run({"token", "add", "anna", "--control", "--tokens", file});

    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(outcome.out.starts_with("anna.")) << outcome.out;
    EXPECT_FALSE(outcome.options);
    EXPECT_EQ(run({"token", "add", "anna", "--control", "--tokens", file}).status, 2);
}

TEST(ParsePlace, GivenHostAndPortInAnyFormCutsThem)
{
    EXPECT_EQ(parsePlace("board", 1), (Place{"board", 1}));
    EXPECT_EQ(parsePlace("board:2", 1), (Place{"board", 2}));
    EXPECT_EQ(parsePlace("[::1]:2", 1), (Place{"::1", 2}));
    EXPECT_EQ(parsePlace("[::1]", 1), (Place{"::1", 1}));
    EXPECT_EQ(parsePlace("::1", 1), (Place{"::1", 1}));
    for (const char* const text : {"[::1", "[::1]x", "[::1]:", ":2", "board:", "[]:2"})
    {
        EXPECT_THROW((void)parsePlace(text, 1), std::invalid_argument) << text;
    }
}
