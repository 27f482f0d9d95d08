#include "tools/korapanel/model/PanelModel.h"

#include <gtest/gtest.h>

using namespace korapanel;
using koraclient::OutputLpr;
using koraclient::OutputRow;

namespace
{

OutputRow routed(std::uint32_t output, std::uint32_t input, OutputLpr lpr = {})
{
    return {.output = output, .result = 0, .input = input, .lpr = lpr};
}

OutputRow unrouted(std::uint32_t output, OutputLpr lpr = {})
{
    return {.output = output, .result = 3, .input = 9, .lpr = lpr};
}

class PanelModelTest : public testing::Test
{
protected:
    PanelModelTest()
    {
        sut.onEvent([this] { ++told; });
    }

    /// Whether there is a router, as the state says it.
    std::string router() const
    {
        const std::string start = "\"router\":{\"present\":";
        const std::string state = sut.stateText();
        const std::size_t place = state.find(start) + start.size();
        return state.substr(place, state.find('}', place) - place);
    }

    /// All events behind a revision, one after the other.
    std::string eventsAfter(std::uint64_t revision) const
    {
        std::string all;
        for (SharedText event = sut.eventAfter(revision); event; event = sut.eventAfter(++revision))
        {
            all += *event;
        }
        return all;
    }

    PanelModel sut{{.bridge = "board:5194",
                    .version = "1",
                    .levels = {1, 2},
                    .firstRevision = 10,
                    .levelNames = {{1, "video"}},
                    .lastNamedInputs = {{2, 40}}}};
    int told = 0;
};

} // namespace

TEST_F(PanelModelTest, GivenRowsTellsTheLevelAndThoseRows)
{
    sut.applyRows(1, {routed(1, 7, {.state = 1, .lprId = 42}), unrouted(3)});

    EXPECT_EQ(*sut.outputsText(1), R"({"level":1,"revision":12,"outputs":[)"
                                   R"({"output":1,"input":7,"result":0,"lock":"locked","holder":42},)"
                                   R"({"output":3,"input":0,"result":3,"lock":"none","holder":0}]})");
    EXPECT_EQ(told, 1);
    EXPECT_NE(eventsAfter(10).find("id: 12\nevent: outputs\ndata: {\"level\":1,\"revision\":12,"), std::string::npos);
    EXPECT_EQ(sut.levelsText(),
              R"({"revision":12,"levels":[{"level":1,"name":"video","outputs":3,"inputs":7,"present":false},)"
              R"({"level":2,"name":"","outputs":0,"inputs":40,"present":false}]})");
    EXPECT_EQ(sut.outputsText(9), nullptr);
}

TEST_F(PanelModelTest, GivenRowsThatAreKnownTellsNobody)
{
    sut.applyRows(1, {routed(1, 7), routed(2, 8)});
    ASSERT_NE(sut.outputsText(1)->find(R"("input":8)"), std::string::npos);
    const std::uint64_t before = sut.lastRevision();

    sut.applyRows(1, {routed(1, 7)});
    EXPECT_EQ(sut.lastRevision(), before);
    sut.applyRows(1, {routed(1, 7), routed(2, 9, {.state = 2, .lprId = 5})});

    EXPECT_EQ(eventsAfter(before).find("\"output\":1,"), std::string::npos) << eventsAfter(before);
    EXPECT_NE(eventsAfter(before).find(R"({"output":2,"input":9,"result":0,"lock":"protected","holder":5})"),
              std::string::npos);
    EXPECT_NE(sut.outputsText(1)->find(R"("input":9)"), std::string::npos); // not the text of before
}

TEST_F(PanelModelTest, GivenNothingShownTheRouterIsNotKnown)
{
    EXPECT_EQ(router(), "null");
    sut.setConnected(true, "connected");
    sut.applyRows(1, {unrouted(1), unrouted(2)});
    sut.settle();

    EXPECT_EQ(router(), "null"); // it may be new, with nothing routed
}

TEST_F(PanelModelTest, GivenEverythingLostTheRouterIsAbsentUntilSomethingIsBack)
{
    sut.setConnected(true, "connected");
    sut.applyRows(1, {routed(1, 7), routed(2, 7)});
    EXPECT_EQ(router(), "true");
    sut.applyRows(1, {unrouted(1)});
    EXPECT_EQ(router(), "true");

    const std::uint64_t before = sut.lastRevision();
    sut.applyRows(1, {unrouted(2)});
    EXPECT_EQ(router(), "false");
    EXPECT_NE(eventsAfter(before).find("event: state\n"), std::string::npos);
    sut.applyRows(1, {routed(2, 7)});
    EXPECT_EQ(router(), "true");
    sut.setConnected(false, "gone");
    EXPECT_EQ(router(), "null");
}

TEST_F(PanelModelTest, GivenLockOrHolderAloneTheRouterIsThere)
{
    sut.setConnected(true, "connected");
    sut.applyRows(1, {routed(1, 7), unrouted(1, {.state = 1, .lprId = 42})});
    EXPECT_EQ(router(), "true");
    sut.applyRows(1, {unrouted(1, {.state = 0, .lprId = 42})}); // released by 42, which only a router can have said
    EXPECT_EQ(router(), "true");
    sut.applyRows(1, {{.output = 1, .result = 4, .lpr = OutputLpr{}}}); // refused by the bridge alone
    EXPECT_EQ(router(), "false");
}

TEST_F(PanelModelTest, GivenNewConnectionTheRouterIsAbsentOnlyWhenItHadTheTimeToBeHeard)
{
    sut.setConnected(true, "connected");
    sut.applyRows(1, {routed(1, 7)});
    sut.setConnected(false, "gone");
    sut.setConnected(true, "connected");
    sut.applyRows(1, {unrouted(1)}); // the bridge has just started as well
    EXPECT_EQ(router(), "null");

    const std::uint64_t before = sut.lastRevision();
    sut.settle();
    EXPECT_EQ(router(), "false");
    EXPECT_NE(eventsAfter(before).find("event: state\n"), std::string::npos);
    sut.setConnected(true, "connected"); // a new one without a loss
    EXPECT_EQ(router(), "null");
}

TEST_F(PanelModelTest, GivenAnotherRoutersLevelForgetsWhatTheFirstHad)
{
    sut.setConnected(true, "connected");
    sut.replaceRows(2, {routed(1, 60), routed(2, 50), routed(3, 7)});
    ASSERT_NE(sut.levelsText().find(R"("outputs":3,"inputs":60)"), std::string::npos) << sut.levelsText();
    const std::uint64_t before = sut.lastRevision();

    sut.replaceRows(2, {routed(1, 4), routed(2, 50)});

    EXPECT_EQ(eventsAfter(before).find("\"output\":2,"), std::string::npos) << eventsAfter(before);
    EXPECT_NE(eventsAfter(before).find("event: levels\n"), std::string::npos);
    EXPECT_NE(sut.levelsText().find(R"("outputs":2,"inputs":50)"), std::string::npos) << sut.levelsText();
    EXPECT_EQ(sut.outputsText(2)->find("\"output\":3,"), std::string::npos);
    EXPECT_EQ(router(), "true");
    // Smaller, and the same in what is left.
    const std::uint64_t then = sut.lastRevision();
    sut.replaceRows(2, {unrouted(1)});
    EXPECT_EQ(router(), "false"); // what output 2 had shown is not of this router
    EXPECT_GT(sut.lastRevision(), then);
    const std::uint64_t last = sut.lastRevision();
    sut.replaceRows(2, {unrouted(1)});
    EXPECT_EQ(sut.lastRevision(), last);
}

TEST_F(PanelModelTest, GivenTheSameStateAgainTellsNobody)
{
    sut.setConnected(true, "connected");
    sut.setPresent(1, true);
    const std::uint64_t before = sut.lastRevision();

    sut.setConnected(true, "connected");
    sut.setPresent(1, true);

    EXPECT_EQ(sut.lastRevision(), before);
    EXPECT_EQ(before, 12U);
}

TEST_F(PanelModelTest, GivenPressesKeepsThoseOfTenMinutesUpToTheBound)
{
    std::vector<Press> presses;
    for (std::size_t i = 0; i < PanelModel::mostPresses + 1; ++i)
    {
        presses.push_back({.time = 1000,
                           .who = {"anna", "10.0.0.5"},
                           .what = "take",
                           .level = 1,
                           .output = static_cast<std::uint32_t>(i),
                           .input = 7,
                           .code = 0,
                           .text = "done"});
    }
    sut.addPresses(presses);

    EXPECT_EQ(sut.historyText(1600).find("\"output\":0,"), std::string::npos);
    EXPECT_NE(sut.historyText(1600).find("\"output\":1,"), std::string::npos);
    EXPECT_EQ(sut.historyText(1601), R"({"presses":[]})");
    EXPECT_EQ(told, 1);
}

TEST_F(PanelModelTest, GivenTextOfOthersInAPressIsOneLineOfJson)
{
    EXPECT_EQ(PanelModel::pressText({.time = 1,
                                     .who = {"anna", "::1"},
                                     .what = "salvo \"x\"\n",
                                     .level = 1,
                                     .output = 2,
                                     .input = {},
                                     .code = {},
                                     .text = "\xff"}),
              "{\"time\":1.0,\"who\":\"anna\",\"address\":\"::1\",\"what\":\"salvo \\\"x\\\"\\n\",\"level\":1,"
              "\"output\":2,\"input\":null,\"code\":null,\"text\":\"\xef\xbf\xbd\"}");
}
