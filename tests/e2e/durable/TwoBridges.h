#pragma once

#include "bustypes/TopicNames.h"
#include "buswrappers/TopicPub.h"
#include "tests/e2e/durable/DurableFixture.h"
#include "tests/e2e/durable/FrameNetwork.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace e2e
{

using com::tallowcrest::dds_::routing::RouterMember;
using com::tallowcrest::routing::TopicPub;
using testsupport::ChildProcess;

/// Two machines with a bridge and a store each, and one router: the near one is frame 18, where the router is, the far
/// one frame 17, unless a test says otherwise, behind a cable.
class TwoBridges : protected FrameNetwork, public DurableFixture
{
protected:
    /// Within this time a bridge's table follows what another one has decided, where targets are shared.
    static constexpr std::chrono::milliseconds tablesFollow{200};
    static constexpr std::uint32_t farFrame = 17;
    static constexpr std::uint32_t nearFrame = 18;

    void SetUp() override
    {
        if (!problem().empty())
        {
            GTEST_SKIP() << problem();
        }
        router().announce();
        m_membership = std::make_unique<TopicPub<RouterMember>>(
            com::tallowcrest::routing::topicName(com::tallowcrest::routing::TopicName::RouterMember),
            dds::core::policy::DurabilityKind::TRANSIENT_LOCAL);
        m_membership->joinRouterPartition("");
        m_membership->write({nearFrame, "R1", 1});
    }
    void TearDown() override
    {
        if (HasFailure() && m_far)
        {
            std::cerr << "--- far bridge\n" << m_far->output() << m_far->errors();
        }
    }
    std::map<std::string, std::string> environment(const char* store) const
    {
        return {{"KORABRIDGE_DURABLE_STORE", (directory() / store).string()},
                {"KORABRIDGE_SHARED_TARGETS", m_isShared ? "1" : "0"}};
    }
    void startNear()
    {
        m_bridge = std::make_unique<ChildProcess>(testsupport::programPath("korabridge"),
                                                  std::vector<std::string>{"18", "4", "Near", "beside the router"},
                                                  ChildProcess::Options{environment("near.db"), false});
        waitForJoin();
    }
    void startFar()
    {
        m_far = startThere(testsupport::programPath("korabridge"), m_farArguments, environment("far.db"));
        ASSERT_TRUE(m_far->waitForOutput("Port: 5194", std::chrono::seconds(30)));
        ASSERT_TRUE(m_far->waitForOutput("addRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget"));
    }
    /// The far bridge comes while its cable is pulled.
    void startThenConnectFar()
    {
        setConnected(false);
        m_far = startThere(testsupport::programPath("korabridge"), m_farArguments, environment("far.db"));
        ASSERT_TRUE(m_far->waitForOutput("Starting korabridge"));
        setConnected(true);
        ASSERT_TRUE(m_far->waitForOutput("Port: 5194", std::chrono::seconds(30)));
        ASSERT_TRUE(m_far->waitForOutput("addRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget"));
    }
    static bool isLocked(const MacroXptOutput& target)
    {
        return target.lprState == com::tallowcrest::dds_::routing::LPR_LOCKED;
    }
    void killFar()
    {
        m_far->signal(SIGKILL);
        ASSERT_EQ(m_far->waitForExit(), 128 + SIGKILL);
    }
    static koraclient::KoraClient connectFar()
    {
        return koraclient::KoraClient(thereAddress, koraPort, testsupport::scaled(std::chrono::seconds(10)));
    }
    void take(koraclient::KoraClient& client, std::uint32_t input, std::uint32_t output)
    {
        ASSERT_EQ(client.take({{videoLevel, 0, input, output}}), std::vector<std::uint32_t>{0});
        ASSERT_TRUE(record().waitForTarget(
            Signal::Video, output, [&](const MacroXptOutput& target) { return target.macroXptInput == input; }));
    }
    /// Every target that came is the input given here for its output.
    void expectOnlyRoutes(const std::map<std::uint32_t, std::uint32_t>& routes)
    {
        for (const MacroXptOutput& target : record().targets(Signal::Video))
        {
            ASSERT_TRUE(routes.contains(target.macroXptOutput)) << target.macroXptOutput;
            EXPECT_EQ(target.macroXptInput, routes.at(target.macroXptOutput)) << "output " << target.macroXptOutput;
        }
    }

    bool m_isShared = false;
    std::vector<std::string> m_farArguments{"17", "3", "Far", "behind a cable"};
    std::unique_ptr<TopicPub<RouterMember>> m_membership;
    std::unique_ptr<ChildProcess> m_far;
};

} // namespace e2e
