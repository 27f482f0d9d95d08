#include "tests/e2e/support/BridgeFixture.h"

#include "koraclient/Errors.h"
#include "tests/support/TimeFactor.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <utility>
#include <vector>

namespace e2e
{

using testsupport::ChildProcess;
using testsupport::waitUntil;

BridgeFixture::BridgeFixture(korasim::RouterOptions options) : m_router(std::move(options))
{
    ::setenv("KORABRIDGE_DURABLE_STORE", (m_storeDirectory.path() / "durable.db").c_str(), 1);
    m_router.record().setPatience(testsupport::timeFactor());
}

BridgeFixture::~BridgeFixture()
{
    if (HasFailure() && m_bridge)
    {
        std::cerr << "--- bridge output\n" << m_bridge->output() << "--- bridge errors\n" << m_bridge->errors();
    }
}

void BridgeFixture::startBridge(const std::vector<std::string>& arguments)
{
    m_bridge = std::make_unique<ChildProcess>(testsupport::programPath("korabridge"), arguments);
}

void BridgeFixture::startJoined()
{
    startBridge();
    m_router.announce();
    waitForJoin();
}

void BridgeFixture::waitForJoin()
{
    ASSERT_TRUE(testsupport::waitForPort(koraPort, std::chrono::seconds(30)));
    ASSERT_TRUE(m_bridge->waitForOutput("addRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget"));
    ASSERT_TRUE(m_bridge->waitForOutput("addRouterMemberMacroXpts  TopicMacroXptOutputAudioTarget"));
}

int BridgeFixture::stopBridge()
{
    m_bridge->signal(SIGTERM);
    return m_bridge->waitForExit().value_or(-1);
}

koraclient::KoraClient BridgeFixture::connectController()
{
    const auto end = std::chrono::steady_clock::now() + testsupport::scaled(std::chrono::seconds(10));
    while (true)
    {
        try
        {
            return koraclient::KoraClient("127.0.0.1", koraPort, testsupport::scaled(std::chrono::seconds(10)));
        }
        catch (const koraclient::ConnectError&)
        {
            if (std::chrono::steady_clock::now() >= end)
            {
                throw;
            }
            testsupport::waitForPort(koraPort);
        }
    }
}

void BridgeFixture::takeEverything(koraclient::KoraClient& client)
{
    constexpr std::uint32_t mostEntries = 500; // nearly as many as a message has room for
    for (const auto& [level, outputs] : {std::pair{videoLevel, 288U}, std::pair{audioLevel, 2304U}})
    {
        std::vector<koraclient::TakeEntry> entries;
        for (std::uint32_t output = 1; output <= outputs; ++output)
        {
            entries.push_back({level, 0, output, output});
            if (entries.size() == mostEntries || output == outputs)
            {
                EXPECT_EQ(client.take(entries), std::vector<std::uint32_t>(entries.size(), 0));
                entries.clear();
            }
        }
        EXPECT_TRUE(waitForInput(client, level, outputs, outputs));
    }
}

bool BridgeFixture::waitForInput(koraclient::KoraClient& client, std::uint32_t level, std::uint32_t output,
                                 std::uint32_t input)
{
    return waitUntil([&] {
        const auto entry = client.outputStatus(0, level, output, 1).entries.at(0);
        return entry.result == 0 && entry.input == input;
    });
}

std::vector<koraclient::OutputChange> BridgeFixture::drainChanges(koraclient::KoraClient& client, std::uint32_t level,
                                                                  std::uint32_t format)
{
    std::vector<koraclient::OutputChange> all;
    bool more = true;
    while (more)
    {
        const auto changes = client.outputChanges(format, level);
        all.insert(all.end(), changes.entries.begin(), changes.entries.end());
        more = changes.more;
    }
    return all;
}

bool BridgeFixture::waitForChange(koraclient::KoraClient& client, std::uint32_t level,
                                  const std::function<bool(const koraclient::OutputChange&)>& predicate)
{
    return waitUntil([&] {
        const auto changes = drainChanges(client, level);
        return std::any_of(changes.begin(), changes.end(), predicate);
    });
}

MacroXptOutput BridgeFixture::xpt(std::uint32_t output, std::uint32_t input, std::uint32_t lprId,
                                  com::tallowcrest::dds_::routing::LPRState state)
{
    MacroXptOutput sample;
    sample.macroXptOutput = output;
    sample.macroXptInput = input;
    sample.lprId = lprId;
    sample.lprState = state;
    return sample;
}

} // namespace e2e
