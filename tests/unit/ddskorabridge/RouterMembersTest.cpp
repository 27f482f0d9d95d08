#include "ddskorabridge/RouterMembers.h"

#include "BusTest.h"
#include "FakeXptStatus.h"
#include "RecordingXptTarget.h"
#include "ddskorabridge/LevelMgr.h"
#include "ddskorabridge/MacroXptMgrLocalTarget.h"
#include "ddskorabridge/MacroXptMgrStatus.h"
#include "ddskorabridge/MacroXptMgrTarget.h"
#include "koraserver/Server.h"
#include "runtime/apartment/ThreadPriority.h"
#include "runtime/util/Metrics.h"
#include "tests/fakes/ManualAlarmClock.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Calls = std::vector<std::string>;
using namespace std::chrono_literals;

int niceOfThisThread()
{
    return ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
}

/// Records its joins and leaves under a name in a list that all share; `Base` is the manager that it stands for.
template <typename Base>
class Recording final : public Base
{
public:
    template <typename... Arguments>
    Recording(Calls& calls, std::string name, Arguments&&... arguments)
        : Base(std::forward<Arguments>(arguments)...), m_calls(calls), m_name(std::move(name))
    {}

    void expectToJoin(const std::string& routerPartition) override { expected = routerPartition; }
    void joinRouterPartition(const std::string& routerPartition) override
    {
        m_calls.push_back(m_name + " joins " + routerPartition);
        nice = niceOfThisThread();
        if (throws)
        {
            throw std::runtime_error("expected by the test");
        }
        if (throwsAnything)
        {
            throw m_name;
        }
    }
    void beginToJoin(const std::string& routerPartition, const std::function<void()>& done) override
    {
        joinRouterPartition(routerPartition);
        if (waits)
        {
            joined = done;
        }
        else
        {
            done();
        }
    }
    void leaveRouterPartition() override { m_calls.push_back(m_name + " leaves"); }

    std::string expected; ///< the partition that was announced last
    bool throws = false;
    bool throwsAnything = false; ///< but an exception
    bool waits = false;
    std::function<void()> joined; ///< to be called by the test, when it waits
    int nice = -20;               ///< of the thread that joined last

private:
    Calls& m_calls;
    std::string m_name;
};

class RecordingServer final : public Server
{
public:
    explicit RecordingServer(Calls& calls) : Server("KORABRIDGE", nullptr, nullptr), m_calls(calls) {}

    void connectToRouter() override
    {
        m_calls.emplace_back("server connects");
        Server::connectToRouter();
    }
    void disconnectFromRouter() override
    {
        m_calls.emplace_back("server disconnects");
        Server::disconnectFromRouter();
    }

private:
    Calls& m_calls;
};

class RouterMembersTest : public BusTest
{
protected:
    using Target = Recording<MacroXptMgrTarget>;
    using Status = Recording<MacroXptMgrStatus>;
    using LocalTarget = Recording<MacroXptMgrLocalTarget>;

    Calls m_calls;
    std::shared_ptr<LevelContainer> m_levels = std::make_shared<LevelContainer>();
    std::shared_ptr<Target> m_audioTarget =
        std::make_shared<Target>(m_calls, "audio target", m_apartment, "members", 8U, 8U, "target");
    std::shared_ptr<Target> m_videoTarget =
        std::make_shared<Target>(m_calls, "video target", m_apartment, "members", 8U, 8U, "target");
    std::shared_ptr<Status> m_audioStatus =
        std::make_shared<Status>(m_calls, "audio status", m_apartment, 8U, "status", m_levels);
    std::shared_ptr<Status> m_videoStatus =
        std::make_shared<Status>(m_calls, "video status", m_apartment, 8U, "status", m_levels);
    std::shared_ptr<LocalTarget> m_audioLocal =
        std::make_shared<LocalTarget>(m_calls, "audio local target", m_apartment, "local", m_audioTarget);
    std::shared_ptr<LocalTarget> m_videoLocal =
        std::make_shared<LocalTarget>(m_calls, "video local target", m_apartment, "local", m_videoTarget);
    std::shared_ptr<Recording<LevelMgr>> m_levelMgr =
        std::make_shared<Recording<LevelMgr>>(m_calls, "levels", m_apartment, "level", m_audioTarget, m_videoTarget,
                                              m_audioStatus, m_videoStatus, m_levels, m_levels);
    std::shared_ptr<RecordingServer> m_server = std::make_shared<RecordingServer>(m_calls);
    std::shared_ptr<ManualAlarmClock> m_clock = std::make_shared<ManualAlarmClock>();
    RouterMembers m_sut{
        {m_levelMgr, m_audioTarget, m_videoTarget, m_audioStatus, m_videoStatus, m_audioLocal, m_videoLocal},
        m_server,
        m_clock};

    /// Which partitions the first part has joined since the last call.
    Calls takeJoins()
    {
        Calls joins;
        for (const std::string& call : std::exchange(m_calls, {}))
        {
            if (call.starts_with("levels joins "))
            {
                joins.push_back(call.substr(call.rfind(' ') + 1));
            }
        }
        return joins;
    }
};

TEST_F(RouterMembersTest, JoiningConnectsTheServerAfterEveryManagerHasJoined)
{
    m_sut.joinRouterPartition("R1");

    EXPECT_EQ(m_calls, (Calls{"levels joins R1", "audio target joins R1", "video target joins R1",
                              "audio status joins R1", "video status joins R1", "audio local target joins R1",
                              "video local target joins R1", "server connects"}));
    EXPECT_TRUE(m_server->isConnectedToRouter());
}

TEST_F(RouterMembersTest, WhoeverJoinsHasTheOrdinaryPriorityAndThePreferenceComesBackAfterwards)
{
    struct Nices
    {
        int preferred = 0;
        int afterJoin = 0;
        int afterFailedJoin = 0;
    };
    const int ordinary = niceOfThisThread();

    const Nices nices = std::async(std::launch::async, [this] {
                            Nices result;
                            com::tallowcrest::apartment::preferThisThread();
                            result.preferred = niceOfThisThread();
                            m_sut.joinRouterPartition("R1");
                            result.afterJoin = niceOfThisThread();
                            m_videoLocal->throws = true;
                            m_clock->pass(1s);
                            m_sut.joinRouterPartition("R1");
                            result.afterFailedJoin = niceOfThisThread();
                            return result;
                        }).get();

    EXPECT_EQ((std::vector{m_levelMgr->nice, m_audioTarget->nice, m_videoTarget->nice, m_audioStatus->nice,
                           m_videoStatus->nice, m_audioLocal->nice, m_videoLocal->nice}),
              std::vector(7, ordinary));
    EXPECT_EQ(nices.afterJoin, nices.preferred);
    EXPECT_EQ(nices.afterFailedJoin, nices.preferred);
}

TEST_F(RouterMembersTest, LeavingDisconnectsTheServerLast)
{
    m_sut.joinRouterPartition("R1");
    m_calls.clear();

    m_sut.leaveRouterPartition();

    EXPECT_EQ(m_calls, (Calls{"levels leaves", "audio target leaves", "video target leaves", "audio status leaves",
                              "video status leaves", "audio local target leaves", "video local target leaves",
                              "server disconnects"}));
    EXPECT_FALSE(m_server->isConnectedToRouter());
}

TEST_F(RouterMembersTest, APartThatWaitsHoldsUpThoseBehindIt)
{
    m_videoTarget->waits = true;

    m_sut.joinRouterPartition("R1");

    EXPECT_EQ(m_calls, (Calls{"levels joins R1", "audio target joins R1", "video target joins R1"}));
    m_videoTarget->joined();
    EXPECT_EQ(m_calls.size(), 8U);
    EXPECT_EQ(m_calls.back(), "server connects");
}

TEST_F(RouterMembersTest, EveryPartHearsOfAJoinBeforeTheFirstOneWaits)
{
    m_audioTarget->waits = true;

    m_sut.joinRouterPartition("R1");

    ASSERT_EQ(m_calls.back(), "audio target joins R1");
    EXPECT_EQ(m_videoTarget->expected, "R1");
    EXPECT_EQ(m_videoLocal->expected, "R1");
}

TEST_F(RouterMembersTest, JoinsThatAreAskedForMeanwhileFollowAsOneToTheLastPartition)
{
    m_videoTarget->waits = true;
    m_sut.joinRouterPartition("R1");
    m_sut.joinRouterPartition("R2");
    m_sut.joinRouterPartition("R3");
    m_clock->pass(1s);
    m_calls.clear();

    m_videoTarget->joined();

    EXPECT_EQ(m_calls, (Calls{"audio status joins R1", "video status joins R1", "audio local target joins R1",
                              "video local target joins R1", "server connects", "levels joins R3",
                              "audio target joins R3", "video target joins R3"}));
}

TEST_F(RouterMembersTest, LeavingEndsTheJoinThatIsUnderWayAndTheOneBehindIt)
{
    m_videoTarget->waits = true;
    m_sut.joinRouterPartition("R1");
    m_sut.joinRouterPartition("R2");
    m_sut.leaveRouterPartition();
    m_calls.clear();

    m_videoTarget->joined();

    EXPECT_EQ(m_calls, Calls{});
    EXPECT_FALSE(m_server->isConnectedToRouter());
    m_videoTarget->waits = false;
    m_sut.joinRouterPartition("R1");
    EXPECT_EQ(m_calls.size(), 8U) << "joins anew";
}

// How often.

TEST_F(RouterMembersTest, JoinWithinASecondOfTheLastOnesBeginningWaitsUntilTheSecondIsOver)
{
    m_sut.joinRouterPartition("R1");
    m_clock->pass(300ms);
    m_sut.joinRouterPartition("R2");
    ASSERT_EQ(takeJoins(), Calls{"R1"});

    m_clock->pass(700ms - 1ns);
    EXPECT_EQ(takeJoins(), Calls{});
    m_clock->pass(1ns);
    EXPECT_EQ(takeJoins(), Calls{"R2"});
    m_clock->pass(1h);
    EXPECT_EQ(takeJoins(), Calls{}) << "once";
}

TEST_F(RouterMembersTest, JoinAfterAQuietSecondBeginsAtOnce)
{
    m_sut.joinRouterPartition("R1");
    m_clock->pass(1s);
    m_sut.joinRouterPartition("R2");
    m_clock->pass(1s);
    m_sut.joinRouterPartition("R2");

    EXPECT_EQ(takeJoins(), (Calls{"R1", "R2", "R2"}));
}

TEST_F(RouterMembersTest, HoweverManyJoinsAreAskedForOneASecondBeginsAndTheLastOneWins)
{
    for (int i = 0; i < 10'000; ++i)
    {
        m_sut.joinRouterPartition("R" + std::to_string(i));
        m_clock->pass(1ms);
    }
    m_clock->pass(1h);

    const Calls joins = takeJoins();
    EXPECT_EQ(joins.size(), 11U);
    EXPECT_EQ(joins.front(), "R0");
    EXPECT_EQ(joins.at(1), "R999") << "the last one that was asked for in the first second";
    EXPECT_EQ(joins.back(), "R9999");
}

TEST_F(RouterMembersTest, JoinThatIsAskedForDuringALongOneFollowsItAtOnce)
{
    m_videoTarget->waits = true;
    m_sut.joinRouterPartition("R1");
    m_sut.joinRouterPartition("R2");
    m_clock->pass(5s);
    ASSERT_EQ(takeJoins(), Calls{"R1"}) << "one is under way";

    m_videoTarget->joined();

    EXPECT_EQ(takeJoins(), Calls{"R2"});
}

TEST_F(RouterMembersTest, LeavingIsImmediateAndEndsTheWaitForAJoin)
{
    m_sut.joinRouterPartition("R1");
    m_sut.joinRouterPartition("R2");
    m_calls.clear();

    m_sut.leaveRouterPartition();

    EXPECT_EQ(m_calls.back(), "server disconnects");
    m_clock->pass(1h);
    EXPECT_EQ(takeJoins(), Calls{});
    EXPECT_FALSE(m_server->isConnectedToRouter());
}

// Joins that fail.

TEST_F(RouterMembersTest, JoinThatFailsGoesOnWithThatPartWithinASecondUntilItSucceeds)
{
    m_videoStatus->throws = true;
    m_sut.joinRouterPartition("R1");
    EXPECT_EQ(m_calls.back(), "video status joins R1");
    EXPECT_FALSE(m_server->isConnectedToRouter());

    for (int i = 0; i < 10; ++i)
    {
        m_calls.clear();
        m_clock->pass(1s);
        EXPECT_EQ(m_calls, Calls(2, "video status joins R1"));
    }
    EXPECT_FALSE(m_server->isConnectedToRouter());
    m_videoStatus->throws = false;
    m_calls.clear();
    m_clock->pass(999ms);

    EXPECT_EQ(m_calls, (Calls{"video status joins R1", "audio local target joins R1", "video local target joins R1",
                              "server connects"}));
    EXPECT_TRUE(m_server->isConnectedToRouter());
    const std::string line = "joining router partition 'R1' failed and is tried again: expected by the test";
    EXPECT_EQ(m_log.texts(), (Calls{"WARN " + line, "INFO connected to router\n", "WARN repeated 20 times: " + line}));
}

TEST_F(RouterMembersTest, JoinThatFailsForNobodyKnowsWhatIsTakenUpAgainToo)
{
    m_videoStatus->throwsAnything = true;
    m_sut.joinRouterPartition("R1");
    ASSERT_FALSE(m_server->isConnectedToRouter());
    m_videoStatus->throwsAnything = false;

    m_clock->pass(1s);

    EXPECT_TRUE(m_server->isConnectedToRouter());
    EXPECT_EQ(m_log.count("WARN joining router partition 'R1' failed and is tried again: unknown exception"), 1U);
}

TEST_F(RouterMembersTest, JoinsAreCountedWhenTheyAreComplete)
{
    const auto joins = [] { return com::tallowcrest::util::countOf("korabridge_join_seconds"); };
    const std::uint64_t before = joins();
    m_videoStatus->throws = true;
    m_sut.joinRouterPartition("R1");
    EXPECT_EQ(joins(), before);
    m_videoStatus->throws = false;

    m_clock->pass(1s);

    EXPECT_EQ(joins(), before + 1);
}

TEST_F(RouterMembersTest, JoinThatFailsAfterAWaitIsTakenUpAgainToo)
{
    m_audioTarget->waits = true;
    m_videoStatus->throws = true;
    m_sut.joinRouterPartition("R1");
    m_clock->pass(10s);
    m_audioTarget->joined();
    ASSERT_FALSE(m_server->isConnectedToRouter());
    m_videoStatus->throws = false;

    m_clock->pass(1s);

    EXPECT_TRUE(m_server->isConnectedToRouter());
}

TEST_F(RouterMembersTest, ControllersOfAnotherPartitionAreSentAwayWhenAJoinFailsAndLetInWhenItIsComplete)
{
    m_sut.joinRouterPartition("R1");
    m_clock->pass(1s);
    m_videoTarget->throws = true;

    m_sut.joinRouterPartition("R2");

    EXPECT_EQ(m_calls.back(), "server disconnects");
    m_clock->pass(5s);
    EXPECT_FALSE(m_server->isConnectedToRouter());
    EXPECT_EQ(std::count(m_calls.begin(), m_calls.end(), "server disconnects"), 1);
    m_videoTarget->throws = false;
    m_clock->pass(1s);
    EXPECT_TRUE(m_server->isConnectedToRouter());
}

TEST_F(RouterMembersTest, ControllersStayWhenARefreshOfTheirPartitionFails)
{
    m_sut.joinRouterPartition("R1");
    m_clock->pass(1s);
    m_videoTarget->throws = true;

    m_sut.joinRouterPartition("R1");
    m_clock->pass(5s);

    EXPECT_TRUE(m_server->isConnectedToRouter());
    EXPECT_EQ(std::count(m_calls.begin(), m_calls.end(), "server disconnects"), 0);
}

TEST_F(RouterMembersTest, NewerJoinReplacesTheOneThatFails)
{
    m_videoStatus->throws = true;
    m_sut.joinRouterPartition("R1");
    m_clock->pass(100ms);
    m_sut.joinRouterPartition("R2");
    m_videoStatus->throws = false;
    m_calls.clear();

    m_clock->pass(1h);

    EXPECT_EQ(m_calls.size(), 8U);
    EXPECT_EQ(m_calls.front(), "levels joins R2");
    EXPECT_EQ(std::count(m_calls.begin(), m_calls.end(), "video status joins R1"), 0);
}

TEST_F(RouterMembersTest, JoinThatWasAskedForMeanwhileReplacesTheOneThatFails)
{
    m_audioTarget->waits = true;
    m_videoStatus->throws = true;
    m_sut.joinRouterPartition("R1");
    m_sut.joinRouterPartition("R2");
    m_clock->pass(5s);
    m_calls.clear();

    m_audioTarget->joined();

    EXPECT_EQ(m_calls.back(), "audio target joins R2");
}

TEST_F(RouterMembersTest, LeavingEndsTheRepetitionOfAJoinThatFails)
{
    m_videoStatus->throws = true;
    m_sut.joinRouterPartition("R1");
    m_sut.leaveRouterPartition();
    m_calls.clear();

    m_clock->pass(1h);

    EXPECT_EQ(m_calls, Calls{});
}

} // namespace
