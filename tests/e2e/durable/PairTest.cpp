#include "koraclient/BridgeHosts.h"
#include "koraclient/Errors.h"
#include "tests/e2e/durable/TwoBridges.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace e2e;
using koraclient::BridgeHosts;
using koraclient::KoraClient;

namespace
{

using Clock = std::chrono::steady_clock;

/// A controller that takes one output after the other, each answered before the next, and goes on with the other
/// bridge when its own is gone. What was not answered is not sent again. `run` is for a thread of its own, the rest for
/// when that has ended.
class PairController
{
public:
    static constexpr std::uint32_t numOutputs = 40;

    explicit PairController(BridgeHosts hosts) : m_hosts(std::move(hosts)) {}

    void run(const std::atomic<bool>& isEnding)
    {
        KoraClient client = m_hosts.connect();
        while (!isEnding)
        {
            const std::uint32_t output = m_taken % numOutputs + 1;
            const std::uint32_t input = m_taken % 288 + 1;
            ++m_taken;
            m_lastTaken[output].push_back(input);
            try
            {
                const std::vector<std::uint32_t> results =
                    client.take({{.level = videoLevel, .lprId = 0, .input = input, .output = output}});
                m_refused += results.front() == 0 ? 0U : 1U;
                const auto now = Clock::now();
                m_longestGap = std::max(m_longestGap, now - m_lastAnswer.value_or(now));
                m_lastAnswer = now;
                m_lastTaken[output] = {input};
                ++m_answered;
            }
            catch (const koraclient::KoraError&)
            {
                ++m_unanswered;
                m_hosts.skip();
                client = m_hosts.connect();
            }
        }
    }

    /// How many takes, for a thread that waits for some.
    std::uint32_t answered() const { return m_answered; }
    std::size_t unanswered() const { return m_unanswered; }
    std::size_t refused() const { return m_refused; }
    std::chrono::milliseconds longestGap() const
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_longestGap);
    }
    const std::string& host() const { return m_hosts.current(); }
    /// What each output may show: the input that was answered last, or one that was sent later and not answered.
    const std::map<std::uint32_t, std::vector<std::uint32_t>>& routes() const { return m_lastTaken; }

private:
    BridgeHosts m_hosts;
    std::uint32_t m_taken = 0;
    std::atomic<std::uint32_t> m_answered{0};
    std::size_t m_unanswered = 0;
    std::size_t m_refused = 0;
    std::optional<Clock::time_point> m_lastAnswer;
    Clock::duration m_longestGap{0};
    std::map<std::uint32_t, std::vector<std::uint32_t>> m_lastTaken;
};

class PairTest : public TwoBridges
{
protected:
    struct Outcome
    {
        int status;
        std::string out;
        std::string err;
    };

    BridgeHosts pair(std::chrono::milliseconds timeout = std::chrono::seconds(10)) const
    {
        return BridgeHosts({hereAddress, thereAddress}, koraPort, testsupport::scaled(timeout));
    }
    static Outcome koractl(std::vector<std::string> arguments)
    {
        const std::vector<std::string> where{"--host", hereAddress, "--host", thereAddress, "--timeout", "10s"};
        arguments.insert(arguments.begin(), where.begin(), where.end());
        ChildProcess program(testsupport::programPath("koractl"), arguments, {.environment = {}, .closeInput = true});
        const int status = program.waitForExit().value_or(-1);
        return {status, program.output(), program.errors()};
    }
    /// Takes without end while the near bridge goes away by a signal, until the far one has answered a thousand.
    void takeWhileNearGoes(PairController& controller, int signal)
    {
        std::atomic<bool> isEnding{false};
        std::jthread thread([&] { controller.run(isEnding); });
        EXPECT_TRUE(testsupport::waitUntil([&] { return controller.answered() > 500; }));
        bridge().signal(signal);
        EXPECT_TRUE(signal == SIGSTOP || bridge().waitForExit());
        const std::uint32_t atDeath = controller.answered();
        EXPECT_TRUE(testsupport::waitUntil([&] { return controller.answered() > atDeath + 1000; }));
        isEnding = true;
        thread.join();
        std::cout << controller.answered() << " takes answered, " << controller.unanswered()
                  << " not answered, longest time between two answers " << controller.longestGap().count() << " ms\n";
    }
    void expectNothingLost(const PairController& controller)
    {
        for (const auto& [output, inputs] : controller.routes())
        {
            EXPECT_TRUE(record().waitForTarget(Signal::Video, output,
                                               [&inputs = inputs](const auto& target) {
                                                   return std::find(inputs.begin(), inputs.end(),
                                                                    target.macroXptInput) != inputs.end();
                                               }))
                << "output " << output;
        }
    }
};

} // namespace

TEST_F(PairTest, KilledBridgeCostsAControllerAtMostTheTakeThatWasUnderWay)
{
    startNear();
    startFar();
    PairController controller(pair());

    takeWhileNearGoes(controller, SIGKILL);

    EXPECT_EQ(controller.host(), thereAddress);
    EXPECT_LE(controller.unanswered(), 1U);
    EXPECT_EQ(controller.refused(), 0U);
    EXPECT_LT(controller.longestGap(), testsupport::scaled(std::chrono::seconds(1)));
    expectNothingLost(controller);
}

TEST_F(PairTest, BridgeThatIsStoppedCostsNoMore)
{
    startNear();
    startFar();
    PairController controller(pair());

    takeWhileNearGoes(controller, SIGTERM);

    EXPECT_EQ(controller.host(), thereAddress);
    EXPECT_LE(controller.unanswered(), 1U);
    EXPECT_LT(controller.longestGap(), testsupport::scaled(std::chrono::seconds(1)));
    expectNothingLost(controller);
}

TEST_F(PairTest, BridgeThatHangsCostsTheTimeForWhichAnAnswerIsAwaited)
{
    startNear();
    startFar();
    PairController controller(pair(std::chrono::seconds(2)));

    takeWhileNearGoes(controller, SIGSTOP);

    EXPECT_EQ(controller.host(), thereAddress);
    EXPECT_EQ(controller.unanswered(), 1U);
    EXPECT_GE(controller.longestGap(), testsupport::scaled(std::chrono::seconds(2)));
    EXPECT_LT(controller.longestGap(), testsupport::scaled(std::chrono::seconds(3)));
    expectNothingLost(controller);
}

TEST_F(PairTest, KoractlGoesOnThroughTheOtherBridge)
{
    startNear();
    startFar();
    const std::vector<std::string> hosts{"--host", hereAddress, "--host", thereAddress};
    std::vector<std::string> watching{"watch", "1", "--interval", "50ms"};
    watching.insert(watching.end(), hosts.begin(), hosts.end());
    ChildProcess watch(testsupport::programPath("koractl"), watching);
    ASSERT_TRUE(watch.waitForOutput("output   288  input     -  released            no route\n")) << watch.errors();
    const Outcome before = koractl({"take", "1:5:7"});
    ASSERT_TRUE(watch.waitForOutput("output     7  input     5  released\n")) << watch.output();

    kill();
    const Outcome after = koractl({"take", "1:6:7"});
    const Outcome status = koractl({"status", "1", "7", "1"});

    EXPECT_EQ(before.status, 0);
    EXPECT_EQ(before.err, "");
    EXPECT_EQ(after.status, 0) << after.err;
    EXPECT_EQ(after.err, std::string("koractl: cannot connect to ") + hereAddress +
                             " port 5194: Connection refused; using " + thereAddress + "\n");
    EXPECT_EQ(status.status, 0) << status.err;
    EXPECT_TRUE(watch.waitForErrors(std::string("koractl: connected again to ") + thereAddress)) << watch.errors();
    EXPECT_TRUE(watch.waitForOutput("output     7  input     6  released\n")) << watch.output();
    watch.signal(SIGINT);
    EXPECT_EQ(watch.waitForExit(), 0);
}

TEST_F(PairTest, WhereTargetsAreSharedALockOutlivesTheBridgeThatSetIt)
{
    m_isShared = true;
    startNear();
    startFar();
    ASSERT_EQ(koractl({"take", "1:5:7"}).status, 0);
    ASSERT_EQ(koractl({"lock", "1:7", "--lpr-id", "42"}).status, 0);
    ASSERT_TRUE(record().waitForTarget(Signal::Video, 7, &isLocked));
    std::this_thread::sleep_for(testsupport::scaled(tablesFollow));

    kill();
    const Outcome refused = koractl({"take", "1:6:7", "--lpr-id", "9"});

    EXPECT_EQ(refused.status, 1) << refused.out;
    EXPECT_NE(refused.out.find("output 7 is locked by 42"), std::string::npos) << refused.out;
}

TEST_F(PairTest, TwoBridgesOfOneFrameServeAndReplaceEachOther)
{
    m_farArguments = {std::to_string(nearFrame), "5", "Far", "the same frame on another machine"};
    startNear();
    startFar();
    ASSERT_TRUE(record().waitForComponent(nearFrame, 4, Liveness::Alive));
    ASSERT_TRUE(record().waitForComponent(nearFrame, 5, Liveness::Alive));
    PairController controller(pair());

    takeWhileNearGoes(controller, SIGKILL);

    EXPECT_LE(controller.unanswered(), 1U);
    EXPECT_EQ(controller.refused(), 0U);
    expectNothingLost(controller);
    EXPECT_TRUE(record().waitForComponent(nearFrame, 4, Liveness::NoWriters, std::chrono::seconds(30)));
    EXPECT_EQ(record().component(nearFrame, 5)->liveness, Liveness::Alive);
    const std::uint32_t locked = PairController::numOutputs + 1;
    EXPECT_EQ(connectFar().setOutputLpr({{videoLevel, locked, koraclient::LprCommand::lock, 42}}).results,
              (std::vector<std::uint32_t>{0}));
    ASSERT_TRUE(record().waitForTarget(Signal::Video, locked, &isLocked));
    startNear();
    EXPECT_EQ(m_far->output().find("silent"), std::string::npos) << m_far->output();
    auto near = connectController();
    for (const auto& [output, inputs] : controller.routes())
    {
        EXPECT_TRUE(waitForInput(near, videoLevel, output, record().lastTarget(Signal::Video, output)->macroXptInput));
    }
    EXPECT_EQ(near.take({{videoLevel, 9, 5, locked}}), (std::vector<std::uint32_t>{12})) << "it was not there then";
}

TEST_F(PairTest, TwoBridgesWithOneIdentityHideThatOneIsGone)
{
    m_farArguments = {std::to_string(nearFrame), "4", "Far", "the same frame and number"};
    startNear();
    startFar();
    ASSERT_TRUE(record().waitForComponent(nearFrame, 4, Liveness::Alive));
    PairController controller(pair());

    takeWhileNearGoes(controller, SIGTERM);

    EXPECT_LE(controller.unanswered(), 1U);
    expectNothingLost(controller);
    EXPECT_EQ(record().component(nearFrame, 4)->liveness, Liveness::Alive) << "the other one still writes it";
}
