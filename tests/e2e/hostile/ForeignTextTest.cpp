#include "bustypes/TopicNames.h"
#include "buswrappers/TopicPub.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace e2e
{
namespace
{

using com::tallowcrest::dds_::routing::ComponentInfo;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicPub;
using testsupport::ChildProcess;

/// True when a terminal would do something else with the text than to draw it, line by line.
bool tellsTheTerminal(const std::string& text)
{
    return std::any_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte < 0x20 && c != '\n') || byte >= 0x7f;
    });
}

TEST(ForeignTextTest, KorasimDrawsWhatAComponentCallsItselfAndObeysNothingOfIt)
{
    ChildProcess korasim(testsupport::programPath("korasim"), {"--frame", "17", "--partition", "R1"});
    TopicPub<ComponentInfo> components(topicName(TopicName::ComponentInfoKoraBridge),
                                       dds::core::policy::DurabilityKind::TRANSIENT_LOCAL);
    components.joinRouterPartition("");

    components.write({.frameId = 17,
                      .componentId = 2,
                      .name = "\x1b[2J\x1b]0;owned\a\xc2\x9b",
                      .description = "x\ncomponent frame 99 id 1 'forged' 'line' alive\r"});
    components.write({.frameId = 17, .componentId = 3, .name = "honest", .description = "bridge"});

    ASSERT_TRUE(korasim.waitForOutput("component frame 17 id 3 'honest' 'bridge' alive")) << korasim.errors();
    EXPECT_FALSE(tellsTheTerminal(korasim.output())) << testing::PrintToString(korasim.output());
    EXPECT_EQ(korasim.output().find("\ncomponent frame 99"), std::string::npos) << korasim.output();
}

class ForeignFileTest : public testing::TestWithParam<std::vector<std::string>>
{
protected:
    testsupport::TempDir m_directory;
};

TEST_P(ForeignFileTest, KoractlRefusesOrDrawsWhatAFileHoldsAndObeysNothingOfIt)
{
    const std::string names = (m_directory.path() / "names").string();
    const std::string backup = (m_directory.path() / "backup").string();
    testsupport::writeFile(names, "level 1 A\xc2\x9b"
                                  "2J\nlevel 1 \xe2\x80\xae"
                                  "1 MAC\nlevel 1 B\n\x1b[2J\n");
    testsupport::writeFile(backup, "koractl-backup 1\nlevel 1\noutput \xc2\x9b"
                                   "2J input 5\noutput \x1b[2J\n");
    std::vector<std::string> arguments;
    for (const std::string& word : GetParam())
    {
        arguments.push_back(word == "NAMES" ? names : word == "BACKUP" ? backup : word);
    }

    ChildProcess koractl(testsupport::programPath("koractl"), arguments, {.environment = {}, .closeInput = true});

    EXPECT_GT(koractl.waitForExit(), 0);
    EXPECT_NE(koractl.errors(), "");
    EXPECT_FALSE(tellsTheTerminal(koractl.output() + koractl.errors()))
        << testing::PrintToString(koractl.output() + koractl.errors());
}

INSTANTIATE_TEST_SUITE_P(Commands, ForeignFileTest,
                         testing::Values(std::vector<std::string>{"--names", "NAMES", "restore", "--dry-run", "BACKUP"},
                                         std::vector<std::string>{"restore", "--dry-run", "BACKUP"},
                                         std::vector<std::string>{"--names", "/no/\x1b[2J\xc2\x9b", "restore",
                                                                  "--dry-run", "BACKUP"},
                                         std::vector<std::string>{"restore", "--dry-run", "/no/\x1b[2J"}));

} // namespace
} // namespace e2e
