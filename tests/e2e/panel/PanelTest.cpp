#include "tests/e2e/panel/PanelFixture.h"
#include "tests/fakes/FakeBridge.h"

#include <csignal>

using namespace e2e;
using koraclient::LprCommand;
using testsupport::EventStream;
using testsupport::httpGet;
using testsupport::httpPost;

namespace
{

class PanelTest : public PanelFixture
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(startJoined());
        ASSERT_NO_FATAL_FAILURE(startPanel());
    }

    static constexpr std::chrono::seconds longTime{30};
};

using SilentBridgeTest = PanelFixture;
using NamedInputsTest = PanelFixture;

} // namespace

TEST_F(PanelTest, TakeIsDoneAndComesBackAsAnEvent)
{
    EventStream stream(port);
    ASSERT_TRUE(stream.waitFor("event: resync\n")) << stream.text();

    EXPECT_EQ(take(3, 7).body, R"({"results":[{"level":1,"output":3,"input":7,"code":0,"text":"done"}]})");

    EXPECT_TRUE(stream.waitFor(R"("outputs":[{"output":3,"input":7,"result":0,"lock":"none","holder":0}])"))
        << stream.text();
    EXPECT_TRUE(stream.waitFor("event: press\n")) << stream.text();
    EXPECT_TRUE(panel().waitForOutput(" local 127.0.0.1 take level 1 output 3 input 7: done\n")) << panel().output();
    koraclient::KoraClient client = connectController();
    EXPECT_TRUE(waitForInput(client, videoLevel, 3, 7));
}

TEST_F(PanelTest, TakeThatIsSentAgainUnderItsKeyIsDoneOnce)
{
    const testsupport::HttpHeaders key{{"Idempotency-Key", "press-1"}};
    const auto first = take(3, 7, key);
    ASSERT_EQ(first.status, 200);
    koraclient::KoraClient client = connectController();
    ASSERT_TRUE(waitForInput(client, videoLevel, 3, 7));
    ASSERT_EQ(client.take({{.level = videoLevel, .lprId = 0, .input = 8, .output = 3}}).front(), 0U);
    ASSERT_TRUE(waitForInput(client, videoLevel, 3, 8));

    const auto again = take(3, 7, key);
    EXPECT_EQ(again.status, 200);
    EXPECT_EQ(again.body, first.body);
    EXPECT_EQ(take(3, 9, key).status, 422);
    EXPECT_EQ(take(3, 7, {{"Idempotency-Key", std::string(256, 'k')}}).status, 400);

    // What is ordered now comes behind whatever was ordered before.
    ASSERT_EQ(take(4, 9).status, 200);
    ASSERT_TRUE(waitForInput(client, videoLevel, 4, 9));
    EXPECT_EQ(client.outputStatus(2, videoLevel, 3, 1).entries.front().input, 8U);
    const std::string history = httpGet(port, "/api/history").body;
    const std::string entry = R"("output":3,)";
    EXPECT_EQ(history.find(entry), history.rfind(entry)) << history;
}

TEST_F(PanelTest, RefusedTakeSaysWhyAndWhoHoldsTheOutput)
{
    koraclient::KoraClient client = connectController();
    ASSERT_EQ(client.setOutputLpr({{videoLevel, 5, LprCommand::lock, 42}}).status, 0U);
    ASSERT_TRUE(
        testsupport::waitUntil([&] { return client.outputStatus(2, videoLevel, 5, 1).entries.front().lprState == 1; }));

    EXPECT_EQ(take(5, 7).body,
              R"({"results":[{"level":1,"output":5,"input":7,"code":12,"text":"output 5 is locked by 42"}]})");
    EXPECT_EQ(httpPost(port, "/api/locks", R"({"locks":[{"level":1,"output":5,"action":"release"}]})").body,
              R"({"results":[{"level":1,"output":5,"input":null,"code":12,"text":"output 5 is locked by 42"}]})");
}

TEST_F(PanelTest, LockOfAnotherControllerIsSeenByEveryBrowser)
{
    EventStream one(port);
    EventStream other(port);
    ASSERT_TRUE(one.waitFor("event: resync\n"));
    ASSERT_TRUE(other.waitFor("event: resync\n"));
    koraclient::KoraClient client = connectController();
    ASSERT_EQ(client.setOutputLpr({{videoLevel, 6, LprCommand::protect, 43}}).status, 0U);

    const std::string row = R"({"output":6,"input":0,"result":3,"lock":"protected","holder":43})";
    EXPECT_TRUE(one.waitFor(row)) << one.text();
    EXPECT_TRUE(other.waitFor(row)) << other.text();
    EXPECT_NE(httpGet(port, "/api/levels/1/outputs").body.find(row), std::string::npos);
}

TEST_F(PanelTest, LossOfTheBridgeIsSaidAndItsReturnBringsWhatDiffers)
{
    EventStream stream(port);
    ASSERT_TRUE(stream.waitFor("event: resync\n"));
    bridge().signal(SIGKILL);
    ASSERT_TRUE(stream.waitFor("\"connected\":false")) << stream.text();
    EXPECT_EQ(take(3, 7).status, 503);
    stream.clear();
    router().setStatus(Signal::Video, xpt(8, 6, 9));

    startBridge();

    EXPECT_TRUE(stream.waitFor("\"connected\":true", longTime)) << stream.text();
    EXPECT_TRUE(stream.waitFor(R"({"output":8,"input":6,"result":0,"lock":"none","holder":0})", longTime))
        << stream.text();
}

TEST_F(PanelTest, LossOfTheRouterIsSaid)
{
    EventStream stream(port);
    ASSERT_EQ(take(3, 7).status, 200);
    ASSERT_TRUE(stream.waitFor(R"("router":{"present":true})") ||
                httpGet(port, "/api/state").body.find(R"("present":true)") != std::string::npos);
    ASSERT_TRUE(stream.waitFor(R"({"output":3,"input":7,)")) << stream.text();

    router().vanish();
    EXPECT_TRUE(stream.waitFor(R"("router":{"present":false})", longTime)) << stream.text();
    stream.clear();
    router().announce();
    EXPECT_TRUE(stream.waitFor(R"("router":{"present":true})", longTime)) << stream.text();
}

TEST_F(PanelTest, BridgeThatJoinsAnotherRouterIsShownWithThatRoutersLevels)
{
    ASSERT_EQ(take(3, 7).status, 200);
    EventStream stream(port);
    ASSERT_TRUE(testsupport::waitUntil([] {
        return httpGet(port, "/api/levels/1/outputs").body.find(R"({"output":3,"input":7,)") != std::string::npos;
    }));

    router().reAnnounce("R2");
    router().publishLevel({1, com::tallowcrest::dds_::routing::LST_Video, 1, 64, 1, 1, 64, 1});

    EXPECT_TRUE(stream.waitFor(R"("outputs":64,"inputs":64,)", longTime)) << stream.text();
    EXPECT_EQ(httpGet(port, "/api/levels/1/outputs").body.find(R"("output":65,)"), std::string::npos);
    EXPECT_EQ(stream.text().find("\"connected\":false"), std::string::npos) << stream.text();
    ASSERT_EQ(take(64, 9).status, 200);
    EXPECT_TRUE(stream.waitFor(R"("outputs":[{"output":64,"input":9,)")) << stream.text();
}

TEST_F(PanelTest, StreamThatWasInterruptedGoesOnWhereItWas)
{
    std::string last;
    {
        EventStream stream(port);
        ASSERT_TRUE(stream.waitFor("event: resync\n"));
        const std::size_t id = stream.text().find("id: ") + 4;
        last = stream.text().substr(id, stream.text().find('\n', id) - id);
    }
    ASSERT_EQ(take(3, 7).status, 200);

    EventStream stream(port, {{"Last-Event-ID", last}});
    EXPECT_TRUE(stream.waitFor(R"("outputs":[{"output":3,"input":7,)")) << stream.text();
    EXPECT_EQ(stream.text().find("resync"), std::string::npos) << stream.text();
    EventStream stranger(port, {{"Last-Event-ID", "99999999999999999"}});
    EXPECT_TRUE(stranger.waitFor("event: resync\n")) << stranger.text();
}

TEST_F(PanelTest, SalvoIsShownAsADifferenceAndSetsThat)
{
    ASSERT_EQ(panel().isRunning(), true);
    testsupport::writeFile(file("studio-a"),
                           "koractl-backup 1\nlevel 1\noutput 3 input 7 released\noutput 4 input 8\n");
    testsupport::writeFile(file("notes.txt"), "something else\n");
    panel().signal(SIGTERM);
    ASSERT_EQ(panel().waitForExit(), 0);
    ASSERT_NO_FATAL_FAILURE(startPanel({"--control", "--salvos", file(".")}));
    ASSERT_EQ(take(3, 7).status, 200);
    koraclient::KoraClient client = connectController();
    ASSERT_TRUE(waitForInput(client, videoLevel, 3, 7));
    ASSERT_TRUE(testsupport::waitUntil([] {
        return httpGet(port, "/api/levels/1/outputs").body.find(R"({"output":3,"input":7,)") != std::string::npos;
    }));

    const std::string list = httpGet(port, "/api/salvos").body;
    EXPECT_TRUE(list.starts_with(R"({"salvos":[{"name":"studio-a","entries":2,"modified":)")) << list;
    EXPECT_EQ(list.find("notes"), std::string::npos);
    EXPECT_EQ(httpGet(port, "/api/salvos/studio-a").body,
              R"({"name":"studio-a","difference":[{"level":1,"output":4,"now":0,"then":8,"nowLock":"none",)"
              R"("thenLock":"none","text":""}],"entries":2})");
    EXPECT_EQ(httpPost(port, "/api/salvos/studio-a/takes", "{}").body,
              R"({"results":[{"level":1,"output":4,"input":8,"code":0,"text":"done"}]})");
    EXPECT_TRUE(waitForInput(client, videoLevel, 4, 8));
    EXPECT_EQ(httpGet(port, "/api/salvos/notes.txt").status, 404);
}

class PanelEndTest : public PanelTest, public testing::WithParamInterface<int>
{};

TEST_P(PanelEndTest, SignalEndsItAtOnceThoughStreamsAreOpen)
{
    std::vector<std::unique_ptr<EventStream>> streams;
    for (int i = 0; i < 20; ++i)
    {
        streams.push_back(std::make_unique<EventStream>(port));
        ASSERT_TRUE(streams.back()->waitFor("event: resync\n"));
    }

    panel().signal(GetParam());

    EXPECT_EQ(panel().waitForExit(std::chrono::seconds(1)), 0);
}

INSTANTIATE_TEST_SUITE_P(Signals, PanelEndTest, testing::Values(SIGTERM, SIGINT));

TEST_F(SilentBridgeTest, SignalEndsThePanelAtOnceThoughTheBridgeAnswersNothing)
{
    FakeBridge bridge([](const koraclient::Message&, std::uint32_t) { return FakeReply{}; }, 0x7f000001, koraPort);
    ASSERT_NO_FATAL_FAILURE(launchPanel({}));
    ASSERT_TRUE(testsupport::waitUntil([&] { return !bridge.requests().empty(); }));

    panel().signal(SIGTERM);

    EXPECT_EQ(panel().waitForExit(std::chrono::milliseconds(300)), 0);
}

TEST_F(NamedInputsTest, InputsOfALevelReachToTheLastThatHasAName)
{
    testsupport::writeFile(file("names"), "level 2 audio\ninput 5000 FAR\n");
    ASSERT_NO_FATAL_FAILURE(startJoined());
    ASSERT_NO_FATAL_FAILURE(startPanel({"--names", file("names")}));

    const std::string levels = httpGet(port, "/api/levels").body;
    EXPECT_NE(levels.find("\"inputs\":5000"), std::string::npos) << levels;
}
