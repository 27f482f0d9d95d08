#include "tests/fakes/FakeBridge.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using testsupport::ChildProcess;

constexpr std::uint32_t changesId = 0x53;

/// A level that exists, and whose changes never end: each answer is full of outputs that were not there before.
FakeReply alwaysMore(const koraclient::Message& request, std::uint32_t sequence)
{
    constexpr std::uint32_t full = 64;
    if (request.id() != changesId)
    {
        return {responseTo(request, sequence, request.id() | 0x80000000U,
                           {request.word(16), request.word(20), request.word(24), 1, 0, 7}),
                false};
    }
    std::vector<std::uint32_t> words{request.word(16), request.word(20), full, 1};
    for (std::uint32_t i = 0; i < full; ++i)
    {
        words.insert(words.end(), {0, sequence * full + i, 7, 0, 0});
    }
    return {responseTo(request, sequence, 0x80000000U | changesId, words), false};
}

class HostileBridgeTest : public testing::TestWithParam<std::vector<std::string>>
{
protected:
    FakeBridge m_bridge{alwaysMore};
    testsupport::TempDir m_directory;
};

} // namespace

TEST_P(HostileBridgeTest, CommandOfKoractlThatHearsOfMoreForEverEndsAndSaysSo)
{
    std::vector<std::string> arguments{"--port", std::to_string(m_bridge.port())};
    for (const std::string& word : GetParam())
    {
        arguments.push_back(word == "FILE" ? (m_directory.path() / "backup").string() : word);
    }
    testsupport::writeFile(m_directory.path() / "backup", "koractl-backup 1\nlevel 1\noutput 7 input 5 released\n");

    ChildProcess koractl(testsupport::programPath("koractl"), arguments, {.environment = {}, .closeInput = true});

    EXPECT_EQ(koractl.waitForExit(), 3) << koractl.output().substr(0, 1000) << koractl.errors();
    EXPECT_NE(koractl.errors().find("more changes than"), std::string::npos) << koractl.errors();
}

INSTANTIATE_TEST_SUITE_P(
    Commands, HostileBridgeTest,
    testing::Values(std::vector<std::string>{"changes", "1"},
                    std::vector<std::string>{"--latency", "2", "changes", "1"}, std::vector<std::string>{"watch", "1"},
                    std::vector<std::string>{"matrix", "1"}, std::vector<std::string>{"backup", "FILE"},
                    std::vector<std::string>{"backup", "-"}, std::vector<std::string>{"restore", "--dry-run", "FILE"},
                    std::vector<std::string>{"restore", "FILE"}));
