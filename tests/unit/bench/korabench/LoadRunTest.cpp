#include "bench/korabench/LoadRun.h"

#include "bench/korabench/Controller.h"
#include "tests/fakes/FakeBridge.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace korabench;
using koraclient::Message;

namespace
{

LoadOptions shortLoad(std::uint32_t connections, std::uint32_t threads = 1)
{
    LoadOptions options;
    options.connections = connections;
    options.threads = threads;
    options.warmUpSeconds = 0;
    options.seconds = 0.5;
    return options;
}

/// Two outputs a take, so that requests and takes differ.
FakeReply answerTake(const Message& request, std::uint32_t sequence)
{
    return {responseTo(request, sequence, 0x80000050, {2, 0, 0}), false};
}

/// A fake bridge for each controller, as a fake serves one at a time.
class FakeBridges
{
public:
    FakeBridges(std::size_t count, const FakeBridge::Handler& handler)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            m_bridges.push_back(std::make_unique<FakeBridge>(handler));
        }
    }

    ClientFactory factory(Command command) const
    {
        return [this, command](std::uint32_t index) {
            RequestShape shape;
            shape.entries = 2;
            return std::make_unique<Controller>(Endpoint{.port = m_bridges[index]->port()},
                                                buildRequests({command}, shape));
        };
    }

private:
    std::vector<std::unique_ptr<FakeBridge>> m_bridges;
};

std::string failureOf(const LoadOptions& options, const ClientFactory& factory)
{
    try
    {
        runLoad(options, factory);
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
    return "";
}

/// One change in every answer.
FakeReply answerChanges(const Message& request, std::uint32_t sequence)
{
    return {responseTo(request, sequence, 0x80000053, {0, 1, 1, 0, 0, 5, 5, 0, 0}), false};
}

} // namespace

class LoadRunThreads : public testing::TestWithParam<std::uint32_t>
{};

TEST_P(LoadRunThreads, GivenRightAnswersCountsRequestsTakesAndLatencies)
{
    const FakeBridges bridges(3, &answerTake);

    const Report report = runLoad(shortLoad(3, GetParam()), bridges.factory(Command::Take));

    EXPECT_GT(report.requests, 0U);
    EXPECT_EQ(report.takes, 2 * report.requests);
    EXPECT_EQ(report.latencies.at(Command::Take).count(), report.requests);
    EXPECT_GE(report.allRequests, report.requests);
    EXPECT_NEAR(report.seconds, 0.5, 0.25);
    EXPECT_EQ(report.connections, 3U);
}

TEST_P(LoadRunThreads, GivenAWrongAnswerToAnyControllerFails)
{
    std::atomic<unsigned> answers{0};
    const FakeBridges bridges(3, [&answers](const Message& request, std::uint32_t sequence) {
        const std::uint32_t result = ++answers == 20 ? 12 : 0;
        return FakeReply{responseTo(request, sequence, 0x80000050, {2, 0, result}), false};
    });
    LoadOptions options = shortLoad(3, GetParam());
    options.seconds = 120;
    std::string text;

    EXPECT_TRUE(testsupport::endsInTime([&] { text = failureOf(options, bridges.factory(Command::Take)); }))
        << "the others went on";

    EXPECT_NE(text.find("wrong response: result"), std::string::npos) << text;
}

INSTANTIATE_TEST_SUITE_P(LoadRun, LoadRunThreads, testing::Values(1U, 2U, 3U));

TEST(LoadRun, GivenAnIntervalSendsNoMoreOften)
{
    const FakeBridges bridges(2, &answerTake);
    LoadOptions options = shortLoad(2);
    options.intervalMilliseconds = 100;

    const Report report = runLoad(options, bridges.factory(Command::Take));

    EXPECT_GT(report.requests, 0U);
    EXPECT_LE(report.requests, 2U * 6U);
}

TEST(LoadRun, GivenAwaitedChangesEndsWhenEachControllerHasThem)
{
    const FakeBridges bridges(2, &answerChanges);
    LoadOptions options = shortLoad(2);
    options.seconds = 20;
    options.awaitedChanges = 10;
    const auto begin = Clock::now();

    const Report report = runLoad(options, bridges.factory(Command::Changes));

    ASSERT_EQ(report.changesCompleteAt.size(), 2U);
    for (const Clock::time_point at : report.changesCompleteAt)
    {
        EXPECT_GT(at, begin);
        EXPECT_LE(at, Clock::now());
    }
    EXPECT_GE(report.requests, 20U);
}

TEST(LoadRun, GivenAwaitedChangesThatDoNotComeFails)
{
    const FakeBridges bridges(1, [](const Message& request, std::uint32_t sequence) {
        return FakeReply{responseTo(request, sequence, 0x80000053, {0, 1, 0, 0}), false};
    });
    LoadOptions options = shortLoad(1);
    options.awaitedChanges = 1;

    EXPECT_EQ(failureOf(options, bridges.factory(Command::Changes)), "not every controller saw the changes awaited");
}

TEST(LoadRun, GivenNoPlaceForAControllerAtFirstTriesAgain)
{
    const FakeBridges bridges(1, &answerTake);
    const ClientFactory factory = bridges.factory(Command::Take);
    int refusals = 0;

    const Report report = runLoad(shortLoad(1), [&](std::uint32_t index) {
        if (refusals < 2)
        {
            ++refusals;
            throw NotConnected("no place");
        }
        return factory(index);
    });

    EXPECT_GT(report.requests, 0U);
    EXPECT_EQ(refusals, 2);
}
