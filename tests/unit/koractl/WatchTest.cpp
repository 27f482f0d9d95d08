#include "tools/koractl/Watch.h"

#include <gtest/gtest.h>

#include "tests/unit/koractl/FakeBridge.h"
#include "tools/koractl/Errors.h"

using namespace koractl;
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

/// The response to a changes request, format 1, of `count` outputs from 0 on.
FakeReply changes(const Message& request, std::uint32_t sequence, std::uint32_t count)
{
    std::vector<std::uint32_t> words{1, request.word(20), count, count == 679 ? 1U : 0U};
    for (std::uint32_t i = 0; i < count; ++i)
    {
        words.insert(words.end(), {0, i, 100 + i});
    }
    return {responseTo(request, sequence, 0x80000053, words), false};
}

} // namespace

TEST(Watch, GivenTwoLevelsPollsEachInEveryRound)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) { return changes(request, sequence, 1); });
    KoraClient client("127.0.0.1", bridge.port(), 10s);
    std::vector<std::uint32_t> levels;
    Watch sut(client, 1, {4, 5}, [&](std::uint32_t level, const OutputRow&) {
        levels.push_back(level);
        return true;
    });
    StopAfter stop(2);

    sut.run(250ms, stop);

    EXPECT_EQ(levels, (std::vector<std::uint32_t>{4, 5, 4, 5}));
    EXPECT_EQ(stop.times(), (std::vector<std::chrono::milliseconds>{250ms, 250ms}));
}

TEST(Watch, GivenFullAnswerAsksOnWithoutWaiting)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        return changes(request, sequence, sequence == 0 ? 679 : 2);
    });
    KoraClient client("127.0.0.1", bridge.port(), 10s);
    std::size_t rows = 0;
    Watch sut(client, 1, {4}, [&](std::uint32_t, const OutputRow&) { ++rows; });
    StopAfter stop(2);

    sut.run(250ms, stop);

    EXPECT_EQ(rows, 681U);
    EXPECT_EQ(stop.times(), (std::vector<std::chrono::milliseconds>{0ms, 250ms}));
}

TEST(Watch, GivenSinkThatTakesNoMoreThrowsWhatTheSinkThrew)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) { return changes(request, sequence, 3); });
    KoraClient client("127.0.0.1", bridge.port(), 10s);
    std::size_t rows = 0;
    Watch sut(client, 1, {4, 5}, [&](std::uint32_t, const OutputRow&) {
        if (++rows == 2)
        {
            throw std::runtime_error("full");
        }
    });
    StopAfter stop(100);

    EXPECT_THROW(sut.run(250ms, stop), std::runtime_error);

    EXPECT_EQ(rows, 2U);
    EXPECT_TRUE(stop.times().empty());
}

TEST(Watch, GivenBridgeThatGoesAwayThrowsPeerClosed)
{
    FakeBridge bridge([](const Message& request, std::uint32_t sequence) {
        FakeReply reply = changes(request, sequence, 1);
        reply.isClosing = sequence == 1;
        return reply;
    });
    KoraClient client("127.0.0.1", bridge.port(), 10s);
    std::size_t rows = 0;
    Watch sut(client, 1, {4}, [&](std::uint32_t, const OutputRow&) { ++rows; });
    StopAfter stop(100);

    EXPECT_THROW(sut.run(1ms, stop), PeerClosed);
    EXPECT_EQ(rows, 2U);
}

TEST(WatchLine, GoldenLines)
{
    EXPECT_EQ(watchLine(1, OutputRow{7, 0, 12, OutputLpr{1, 5}}), "level   1  output     7  input    12  locked by 5");
    EXPECT_EQ(watchLine(1, OutputRow{8, 3, 0, OutputLpr{0, 0}}),
              "level   1  output     8  input     -  released            no route");
    EXPECT_EQ(watchLine(1, OutputRow{9, 0, 3, std::nullopt}), "level   1  output     9  input     3");
}

TEST(WatchJson, GoldenLine)
{
    EXPECT_EQ(watchJson(1, OutputRow{7, 0, 12, OutputLpr{1, 5}}),
              R"({"level":1,"output":7,"result":0,"input":12,"state":"locked","lprId":5,"text":"ok"})");
}
