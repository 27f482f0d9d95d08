#include "koraclient/Watch.h"

#include "koraclient/Errors.h"
#include "tests/fakes/FakeBridge.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

using namespace koraclient;
using namespace std::chrono_literals;

namespace
{

/// Wants the end after a number of waits and records how long each was.
class StopAfter : public StopCondition
{
public:
    explicit StopAfter(std::size_t waits) : m_waits(waits) {}

    bool waitFor(std::chrono::milliseconds time) override
    {
        m_times.push_back(time);
        return m_times.size() >= m_waits;
    }

    const std::vector<std::chrono::milliseconds>& times() const { return m_times; }

private:
    std::size_t m_waits;
    std::vector<std::chrono::milliseconds> m_times;
};

/// Writes down what it is told.
class Notes : public WatchListener
{
public:
    void changed(std::uint32_t level, const OutputRow& row) override
    {
        m_lines.push_back(std::to_string(level) + ":" + row.inputText() + ":" + std::to_string(row.output));
        if (m_lines.size() == m_most)
        {
            throw std::runtime_error("full");
        }
    }
    void missing(std::uint32_t level) override { m_lines.push_back("missing " + std::to_string(level)); }
    /// The reason is the system's choice: it may see the end of the stream first, or the reset.
    void lost(const std::string& reason) override { m_lines.emplace_back(reason.empty() ? "lost, no reason" : "lost"); }
    void back(std::chrono::milliseconds) override { m_lines.emplace_back("back"); }
    void resynchronised(std::uint32_t level, std::size_t differing) override
    {
        m_lines.push_back("resynchronised " + std::to_string(level) + " " + std::to_string(differing));
    }

    void setMost(std::size_t most) { m_most = most; }
    const std::vector<std::string>& lines() const { return m_lines; }

private:
    std::vector<std::string> m_lines;
    std::size_t m_most = 1'000'000;
};

/// The response to a changes request, format 1, of `count` outputs from 0 on, each showing input 100 + output.
FakeReply changes(const Message& request, std::uint32_t sequence, std::uint32_t count)
{
    std::vector<std::uint32_t> words{1, request.word(20), count, count == 679 ? 1U : 0U};
    for (std::uint32_t i = 0; i < count; ++i)
    {
        words.insert(words.end(), {0, i, 100 + i});
    }
    return {responseTo(request, sequence, 0x80000053, words), false};
}

/// That a level exists, or not.
FakeReply existence(const Message& request, std::uint32_t sequence, bool isThere)
{
    return {responseTo(request, sequence, 0x80000052, {1, request.word(20), 0, 1, isThere ? 4U : 5U, 0}), false};
}

Watch::Connect toBridge(const FakeBridge& bridge)
{
    return [&bridge] { return KoraClient("127.0.0.1", bridge.port(), 10s); };
}

constexpr Watch::Settings settings{.format = 1, .interval = 250ms, .isReconnecting = true};

/// A bridge with one level, 1, of three outputs that closes each connection after some polls. Between connections the
/// input of output 1 moves on. What it answers is told by the number of the connection and of the poll in it.
class LeavingBridge
{
public:
    explicit LeavingBridge(std::uint32_t polls) : m_polls(polls) {}

    FakeReply operator()(const Message& request, std::uint32_t sequence)
    {
        if (request.id() == 0x52)
        {
            return existence(request, sequence, true);
        }
        const std::uint32_t poll = sequence - (m_connection == 0 ? 1 : 0);
        FakeReply reply{
            responseTo(request, sequence, 0x80000053,
                       poll == 0 ? std::vector<std::uint32_t>{1, 1, 3, 0, 0, 0, 100, 0, 1, 101 + m_connection, 3, 2, 0}
                                 : std::vector<std::uint32_t>{1, 1, 0, 0}),
            false};
        if (poll + 1 == m_polls)
        {
            reply.isClosing = true;
            ++m_connection;
        }
        return reply;
    }

private:
    std::uint32_t m_polls;
    std::uint32_t m_connection = 0;
};

} // namespace

TEST(Watch, GivenABridgeThatAlwaysSaysMoreEnds)
{
    const FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true) : changes(request, sequence, 679);
    });
    Notes notes;
    notes.setMost(10'000'000);
    Watch sut(toBridge(bridge), {1}, settings, notes);
    StopAfter stop(1'000'000);
    sut.start();

    EXPECT_THROW(sut.run(stop), ProtocolError);
}

TEST(Watch, GivenTwoLevelsPollsEachInEveryRound)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true) : changes(request, sequence, 1);
    });
    Notes notes;
    Watch sut(toBridge(bridge), {4, 5}, settings, notes);
    StopAfter stop(2);

    sut.start();
    sut.run(stop);

    EXPECT_EQ(notes.lines(), (std::vector<std::string>{"4:100:0", "5:100:0", "4:100:0", "5:100:0"}));
    EXPECT_EQ(stop.times(), (std::vector<std::chrono::milliseconds>{250ms, 250ms}));
}

TEST(Watch, GivenFullAnswerAsksOnWithoutWaiting)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true)
                                    : changes(request, sequence, sequence == 1 ? 679 : 2);
    });
    Notes notes;
    Watch sut(toBridge(bridge), {4}, settings, notes);
    StopAfter stop(2);

    sut.start();
    sut.run(stop);

    EXPECT_EQ(notes.lines().size(), 681U);
    EXPECT_EQ(stop.times(), (std::vector<std::chrono::milliseconds>{0ms, 250ms}));
}

TEST(Watch, GivenUnknownLevelSaysSoAndGoesOn)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, request.word(20) == 1)
                                    : changes(request, sequence, request.word(20) == 1 ? 1 : 0);
    });
    Notes notes;
    Watch sut(toBridge(bridge), {9, 1}, settings, notes);
    StopAfter stop(1);

    sut.start();
    sut.run(stop);

    EXPECT_EQ(notes.lines(), (std::vector<std::string>{"missing 9", "1:100:0"}));
}

TEST(Watch, GivenQuietRoundsFromTheFirstOnSaysAndAsksNothingMore)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true) : changes(request, sequence, 0);
    });
    Notes notes;
    Watch sut(toBridge(bridge), {4}, settings, notes);
    StopAfter stop(4);

    sut.start();
    sut.run(stop);

    EXPECT_EQ(notes.lines(), std::vector<std::string>{});
    EXPECT_EQ(bridge.requests().size(), 5U); // whether the level exists, and four polls
}

TEST(Watch, GivenListenerThatTakesNoMoreThrowsWhatItThrew)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true) : changes(request, sequence, 3);
    });
    Notes notes;
    notes.setMost(2);
    Watch sut(toBridge(bridge), {4, 5}, settings, notes);
    StopAfter stop(100);

    sut.start();
    EXPECT_THROW(sut.run(stop), std::runtime_error);

    EXPECT_EQ(notes.lines().size(), 2U);
    EXPECT_TRUE(stop.times().empty());
}

TEST(Watch, GivenBridgeThatGoesAwayHandsOnWhatDiffersOnceItIsBack)
{
    FakeBridge bridge{LeavingBridge(3)};
    Notes notes;
    Watch sut(toBridge(bridge), {1}, settings, notes);
    StopAfter stop(6);

    sut.start();
    sut.run(stop);

    EXPECT_EQ(notes.lines(), (std::vector<std::string>{"1:100:0", "1:101:1", "1:-:2", "lost", "back", "1:102:1",
                                                       "resynchronised 1 1"}));
    // Three rounds, the first retry, two rounds.
    EXPECT_EQ(stop.times(), (std::vector<std::chrono::milliseconds>{250ms, 250ms, 250ms, 250ms, 250ms, 250ms}));
}

TEST(Watch, GivenBridgeThatKeepsLeavingSaysSoOnceAndWaitsLonger)
{
    std::atomic<int> polls = 0;
    FakeBridge bridge([&polls](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true)
               : polls++ == 0       ? changes(request, sequence, 1)
                                    : FakeReply{{}, true};
    });
    Notes notes;
    Watch sut(toBridge(bridge), {1}, settings, notes);
    StopAfter stop(8);

    sut.start();
    sut.run(stop);

    EXPECT_EQ(notes.lines(), (std::vector<std::string>{"1:100:0", "lost"}));
    EXPECT_EQ(stop.times(),
              (std::vector<std::chrono::milliseconds>{250ms, 250ms, 500ms, 1000ms, 2000ms, 4000ms, 5000ms, 5000ms}));
}

TEST(Watch, GivenBridgeThatDoesNotListenAnyMoreTriesUntilTheEndIsWanted)
{
    auto bridge = std::make_unique<FakeBridge>([](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true) : changes(request, sequence, 1);
    });
    const std::uint16_t port = bridge->port();
    Notes notes;
    Watch sut([port] { return KoraClient("127.0.0.1", port, 10s); }, {1}, settings, notes);
    StopAfter one(1);
    StopAfter three(3);
    sut.start();
    sut.run(one);

    bridge.reset();
    sut.run(three);

    EXPECT_EQ(notes.lines().size(), 2U);
    EXPECT_EQ(three.times(), (std::vector<std::chrono::milliseconds>{250ms, 500ms, 1000ms}));
}

TEST(Watch, GivenLevelThatIsGoneAfterwardsSaysSoAndComparesOnceItIsThere)
{
    std::atomic<int> requests = 0;
    // Existence, poll and leave; then: nothing, no such level; nothing; two outputs; nothing.
    FakeBridge bridge([&requests](const Message& request, std::uint32_t sequence) {
        const int number = requests++;
        if (request.id() == 0x52)
        {
            return existence(request, sequence, number == 0);
        }
        FakeReply reply = changes(request, sequence, number == 1 ? 1 : number == 5 ? 2 : 0);
        reply.isClosing = number == 1;
        return reply;
    });
    Notes notes;
    Watch sut(toBridge(bridge), {1}, settings, notes);
    StopAfter stop(6);

    sut.start();
    sut.run(stop);

    EXPECT_EQ(notes.lines(),
              (std::vector<std::string>{"1:100:0", "lost", "back", "missing 1", "1:101:1", "resynchronised 1 1"}));
}

TEST(Watch, GivenAnotherLossForgetsWhatTheLostConnectionHasSaid)
{
    std::atomic<int> requests = 0;
    // Existence, one output and leave; three outputs and leave; then: nothing, no such level.
    FakeBridge bridge([&requests](const Message& request, std::uint32_t sequence) {
        const int number = requests++;
        if (request.id() == 0x52)
        {
            return existence(request, sequence, number == 0);
        }
        FakeReply reply = changes(request, sequence, number == 1 ? 1 : number == 2 ? 3 : 0);
        reply.isClosing = number < 3;
        return reply;
    });
    Notes notes;
    Watch sut(toBridge(bridge), {1}, settings, notes);
    StopAfter stop(5);

    sut.start();
    sut.run(stop);

    EXPECT_EQ(notes.lines(), (std::vector<std::string>{"1:100:0", "lost", "back", "lost", "back", "missing 1"}));
}

TEST(Watch, GivenNoReconnectingThrowsPeerClosed)
{
    FakeBridge bridge{LeavingBridge(1)};
    Notes notes;
    Watch sut(toBridge(bridge), {1}, {.format = 1, .interval = 1ms, .isReconnecting = false}, notes);
    StopAfter stop(100);
    sut.start();

    EXPECT_THROW(sut.run(stop), PeerClosed);

    EXPECT_EQ(notes.lines().size(), 3U);
}

TEST(Watch, GivenBridgeThatLeavesBeforeTheFirstRoundThrowsPeerClosed)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true) : FakeReply{{}, true};
    });
    Notes notes;
    Watch sut(toBridge(bridge), {1}, settings, notes);
    StopAfter stop(100);
    sut.start();

    EXPECT_THROW(sut.run(stop), PeerClosed);
}

TEST(Watch, GivenWrongAnswerThrowsProtocolErrorInsteadOfConnectingAgain)
{
    std::atomic<int> polls = 0;
    FakeBridge bridge([&polls](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true)
                                    : changes(request, sequence + (polls++ == 0 ? 0 : 7), 1);
    });
    Notes notes;
    Watch sut(toBridge(bridge), {1}, settings, notes);
    StopAfter stop(100);
    sut.start();

    EXPECT_THROW(sut.run(stop), ProtocolError);
}

TEST(Watch, GivenErrorResponseThrowsItInsteadOfConnectingAgain)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return request.id() == 0x52 ? existence(request, sequence, true)
                                    : FakeReply{responseTo(request, sequence, 0x80000000, {8}), false};
    });
    Notes notes;
    Watch sut(toBridge(bridge), {1}, settings, notes);
    StopAfter stop(100);
    sut.start();

    EXPECT_THROW(sut.run(stop), ErrorResponse);
}
