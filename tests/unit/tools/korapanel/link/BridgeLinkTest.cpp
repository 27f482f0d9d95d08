#include "tools/korapanel/link/BridgeLink.h"

#include "koraclient/Errors.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/tools/koractl/FakeLevel.h"
#include "tools/korapanel/link/Orders.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

using namespace korapanel;
using testsupport::waitUntil;

namespace
{

class BridgeLinkTest : public testing::Test
{
protected:
    BridgeLinkTest()
    {
        m_model.onEvent([] {});
    }

    void start(std::uint16_t port)
    {
        sut = std::make_unique<BridgeLink>(BridgeLink::Settings{.host = "127.0.0.1", .port = port, .levels = {1}},
                                           m_model, [this] { return m_watchers.load(); });
    }
    bool knows(const std::string& text) const { return m_model.outputsText(1)->find(text) != std::string::npos; }

    /// Whether any event so far did, whatever is known by now.
    bool hasTold(const std::string& text) const
    {
        bool isFound = false;
        for (std::uint64_t revision = 0; !isFound && revision < m_model.lastRevision(); ++revision)
        {
            isFound = m_model.eventAfter(revision)->find(text) != std::string::npos;
        }
        return isFound;
    }

    PanelModel m_model{{.bridge = "fake", .version = "1", .levels = {1}}};
    std::atomic<std::size_t> m_watchers = 1;
    std::unique_ptr<BridgeLink> sut;
};

} // namespace

TEST_F(BridgeLinkTest, GivenBridgeLearnsTheLevelAndWhatChanges)
{
    // The looks at the status say otherwise, so that they cannot stand in for the changes.
    FakeLevel other(5);
    other.output(5).input = 1;
    FakeBridge bridge(
        [level = FakeLevel(5), other](const koraclient::Message& request, std::uint32_t sequence) mutable {
            return request.id() == 0x52 ? other(request, sequence) : level(request, sequence);
        });
    start(bridge.port());

    ASSERT_TRUE(waitUntil([&] { return hasTold(R"({"output":5,"input":5,)"); }));
    EXPECT_TRUE(waitUntil([&] { return m_model.isConnected(); }));
    std::atomic<bool> isDone = false;
    ASSERT_TRUE(sut->submit([&isDone](koraclient::KoraClient* client) {
        const auto outcome = sendTakes(*client, {{.level = 1, .lprId = 0, .input = 2, .output = 5}}, false);
        isDone = outcome.results.at(0).text == "done";
    }));
    EXPECT_TRUE(waitUntil([&] { return isDone && hasTold(R"({"output":5,"input":2,)"); }));
}

TEST_F(BridgeLinkTest, GivenNobodyWhoLooksPollsRarely)
{
    FakeBridge bridge{FakeLevel(5)};
    m_watchers = 0;
    start(bridge.port());
    ASSERT_TRUE(waitUntil([&] { return knows(R"({"output":5,)") && m_model.isConnected(); }));
    const auto requestsIn = [&bridge](std::chrono::milliseconds time) {
        const std::size_t before = bridge.requests().size();
        const auto end = std::chrono::steady_clock::now() + time;
        (void)waitUntil([&] { return std::chrono::steady_clock::now() >= end; });
        return bridge.requests().size() - before;
    };

    const std::size_t rare = requestsIn(std::chrono::seconds(1));
    m_watchers = 1;
    sut->noteInterest();
    ASSERT_TRUE(waitUntil([&] { return requestsIn(std::chrono::seconds(1)) > 3 * (rare + 1); }));
    EXPECT_LE(rare, 4U);
}

TEST_F(BridgeLinkTest, GivenNoBridgeJobsAreToldSoAtOnce)
{
    start(1); // nobody listens there
    std::atomic<int> toldWithout = 0;

    ASSERT_TRUE(sut->submit([&](koraclient::KoraClient* client) { toldWithout += client == nullptr ? 1 : 0; }));

    EXPECT_TRUE(waitUntil([&] { return toldWithout == 1; }));
    EXPECT_TRUE(waitUntil([&] { return m_model.stateText().find("refused") != std::string::npos; }))
        << m_model.stateText();
}

TEST_F(BridgeLinkTest, GivenJobThatFindsTheConnectionOutOfStepConnectsAgain)
{
    FakeBridge bridge{FakeLevel(5)};
    start(bridge.port());
    ASSERT_TRUE(waitUntil([&] { return m_model.isConnected(); }));
    const std::uint64_t before = m_model.lastRevision();

    ASSERT_TRUE(sut->submit([](koraclient::KoraClient*) { throw koraclient::PeerClosed("it is gone"); }));

    EXPECT_TRUE(waitUntil([&] { return m_model.lastRevision() >= before + 2 && m_model.isConnected(); }));
    EXPECT_NE(m_model.eventAfter(before)->find("it is gone"), std::string::npos);
}

TEST_F(BridgeLinkTest, GivenMoreJobsThanTheBoundRefusesThem)
{
    FakeBridge bridge{FakeLevel(5)};
    start(bridge.port());
    std::atomic<bool> isHeld = false;
    std::atomic<bool> mayGo = false;
    ASSERT_TRUE(sut->submit([&](koraclient::KoraClient*) {
        isHeld = true;
        (void)waitUntil([&] { return mayGo.load(); });
    }));
    ASSERT_TRUE(waitUntil([&] { return isHeld.load(); }));
    std::atomic<std::size_t> run = 0;
    for (std::size_t i = 0; i < BridgeLink::mostJobs; ++i)
    {
        EXPECT_TRUE(sut->submit([&](koraclient::KoraClient*) { ++run; }));
    }

    EXPECT_FALSE(sut->submit([&](koraclient::KoraClient*) { ++run; }));
    mayGo = true;
    EXPECT_TRUE(waitUntil([&] { return run == BridgeLink::mostJobs; }));
    sut->stop();
    EXPECT_FALSE(sut->submit([](koraclient::KoraClient*) {}));
}

TEST_F(BridgeLinkTest, GivenStopRunsWhatWaitsWithoutABridge)
{
    start(1);
    std::atomic<int> run = 0;
    for (int i = 0; i < 10; ++i)
    {
        ASSERT_TRUE(sut->submit([&](koraclient::KoraClient*) { ++run; }));
    }

    sut->stop();

    EXPECT_EQ(run, 10);
}

TEST_F(BridgeLinkTest, GivenTakeThatIsNotAnsweredStopsAtOnceAndSaysSo)
{
    FakeBridge bridge([level = FakeLevel(5)](const koraclient::Message& request, std::uint32_t sequence) mutable {
        return request.id() == 0x50 ? FakeReply{} : level(request, sequence);
    });
    start(bridge.port());
    ASSERT_TRUE(waitUntil([&] { return m_model.isConnected(); }));
    std::atomic<int> told = 0;
    ASSERT_TRUE(sut->submit([&](koraclient::KoraClient* client) {
        const auto outcome = sendTakes(*client, {{.level = 1, .lprId = 0, .input = 2, .output = 5}}, false);
        told += outcome.results.at(0).text.starts_with("no answer") ? 1 : 0;
        std::rethrow_exception(outcome.trouble);
    }));
    ASSERT_TRUE(waitUntil([&] { return bridge.requests().back().id() == 0x50; }));

    EXPECT_TRUE(testsupport::endsInTime([&] { sut->stop(); }, std::chrono::milliseconds(300)));

    EXPECT_EQ(told, 1);
}

TEST_F(BridgeLinkTest, GivenLevelThatBecomesAnotherShowsThatWithoutALoss)
{
    FakeLevel large(1000);
    FakeLevel small(5);
    small.output(5).input = 2;
    std::atomic<bool> isSmall = false;
    FakeBridge bridge([&](const koraclient::Message& request, std::uint32_t sequence) {
        return isSmall ? small(request, sequence) : large(request, sequence);
    });
    start(bridge.port());
    ASSERT_TRUE(waitUntil([&] { return m_model.isConnected() && knows(R"({"output":1000,"input":1000,)"); }));
    const std::uint64_t before = m_model.lastRevision();

    isSmall = true;

    EXPECT_TRUE(waitUntil([&] { return knows(R"({"output":5,"input":2,)") && !knows(R"("output":6,)"); }));
    for (std::uint64_t revision = before; revision < m_model.lastRevision(); ++revision)
    {
        EXPECT_EQ(m_model.eventAfter(revision)->find("\"connected\":false"), std::string::npos);
    }
    isSmall = false;
    EXPECT_TRUE(waitUntil([&] { return knows(R"({"output":5,"input":5,)") && knows(R"("output":1000,)"); }));
}

TEST_F(BridgeLinkTest, GivenStatusThatTheChangesDidNotTellFindsIt)
{
    FakeLevel known(1000);
    FakeLevel changed(1000);
    changed.output(3).input = 4;
    changed.output(998).state = 1;
    std::atomic<bool> isChanged = false;
    FakeBridge bridge([&](const koraclient::Message& request, std::uint32_t sequence) {
        return isChanged ? changed(request, sequence) : known(request, sequence);
    });
    start(bridge.port());
    ASSERT_TRUE(waitUntil([&] { return m_model.isConnected() && knows(R"({"output":1000,"input":1000,)"); }));

    isChanged = true;

    EXPECT_TRUE(waitUntil([&] {
        return knows(R"({"output":3,"input":4,)") && knows(R"({"output":998,"input":998,"result":0,"lock":"locked")");
    }));
}
