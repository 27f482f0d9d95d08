#include "tests/unit/tools/koractl/FakeRouter.h"
#include "tools/koractl/CommandLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>

namespace
{

constexpr std::uint32_t secondAddress = 0x7f000002;

struct Outcome
{
    int status;
    std::string out;
    std::string err;
};

/// Runs koractl with two bridges, at 127.0.0.1 and 127.0.0.2.
Outcome run(std::uint16_t port, std::vector<std::string> arguments)
{
    const std::vector<std::string> where{"--host", "127.0.0.1",          "--host",    "127.0.0.2",
                                         "--port", std::to_string(port), "--timeout", "10s"};
    arguments.insert(arguments.begin(), where.begin(), where.end());
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    const int status = koractl::runCommandLine(arguments, {.in = in, .out = out, .err = err});
    return {status, out.str(), err.str()};
}

/// A bridge that answers as a router's bridge does, but leaves instead of answering requests with one id.
FakeBridge::Handler leavingAt(std::uint32_t id)
{
    return [router = FakeRouter(), id](const koraclient::Message& request, std::uint32_t sequence) mutable {
        return request.id() == id ? FakeReply{{}, true} : router(request, sequence);
    };
}

std::size_t requestsOf(const FakeBridge& bridge, std::uint32_t id)
{
    const auto all = bridge.requests();
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [id](const auto& request) { return request.id() == id; }));
}

constexpr std::uint32_t takeId = 0x50;
constexpr std::uint32_t lprId = 0x51;
constexpr std::uint32_t coherentTakeId = 0x55;
constexpr std::uint32_t statusId = 0x52;

} // namespace

TEST(Hosts, GivenTheFirstGoneTakesThroughTheNextAndSaysSo)
{
    std::uint16_t port = 0;
    {
        const FakeBridge gone{FakeRouter()};
        port = gone.port();
    }
    const FakeBridge second(FakeRouter(), secondAddress, port);

    const Outcome outcome = run(port, {"take", "1:2:3"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "koractl: cannot connect to 127.0.0.1 port " + std::to_string(port) +
                               ": Connection refused; using 127.0.0.2\n");
    EXPECT_EQ(requestsOf(second, takeId), 1U);
}

TEST(Hosts, GivenTheFirstThereTheOtherIsNotTouched)
{
    const FakeBridge first{FakeRouter()};
    const FakeBridge second(FakeRouter(), secondAddress, first.port());

    const Outcome outcome = run(first.port(), {"take", "1:2:3"});

    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(second.requests().empty());
}

TEST(Hosts, WhatChangesSomethingIsNotSentAgainToAnotherBridge)
{
    struct Command
    {
        std::uint32_t id;
        std::vector<std::string> arguments;
    };
    for (const Command& command :
         {Command{takeId, {"take", "1:2:3"}}, Command{coherentTakeId, {"coherent-take", "1:2:3"}},
          Command{lprId, {"lock", "1:3"}}})
    {
        SCOPED_TRACE(command.arguments.front());
        const FakeBridge first(leavingAt(command.id));
        const FakeBridge second(FakeRouter(), secondAddress, first.port());

        const Outcome outcome = run(first.port(), command.arguments);

        EXPECT_EQ(outcome.status, 3);
        EXPECT_NE(outcome.out.find("no answer; it may have been done\n"), std::string::npos) << outcome.out;
        EXPECT_EQ(outcome.err.find("koractl: 127.0.0.1 did not answer everything; nothing was sent to another bridge. "
                                   "'koractl --host 127.0.0.2 status' shows what was done\n"),
                  0U)
            << outcome.err;
        EXPECT_TRUE(second.requests().empty());
    }
}

TEST(Hosts, QueryThatIsNotAnsweredIsAskedOfTheNext)
{
    const FakeBridge first(leavingAt(statusId));
    const FakeBridge second(FakeRouter(), secondAddress, first.port());

    const Outcome outcome = run(first.port(), {"status", "1", "3", "1"});

    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("released"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.err.find("; asking the next bridge\n"), std::string::npos) << outcome.err;
    EXPECT_EQ(requestsOf(second, statusId), 1U);
}

TEST(Hosts, QueryThatNobodyAnswersExits3AfterEachWasAskedOnce)
{
    const FakeBridge first(leavingAt(statusId));
    const FakeBridge second(leavingAt(statusId), secondAddress, first.port());

    const Outcome outcome = run(first.port(), {"status", "1", "3", "1"});

    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(requestsOf(first, statusId), 1U);
    EXPECT_EQ(requestsOf(second, statusId), 1U);
}
