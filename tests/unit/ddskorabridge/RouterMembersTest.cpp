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

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

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

    void joinRouterPartition(const std::string& routerPartition) override
    {
        m_calls.push_back(m_name + " joins " + routerPartition);
        nice = niceOfThisThread();
        if (throws)
        {
            throw std::runtime_error("expected by the test");
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

    bool throws = false;
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
    RouterMembers m_sut{
        {m_levelMgr, m_audioTarget, m_videoTarget, m_audioStatus, m_videoStatus, m_audioLocal, m_videoLocal}, m_server};
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
                            EXPECT_THROW(m_sut.joinRouterPartition("R1"), std::runtime_error);
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

TEST_F(RouterMembersTest, JoinsThatAreAskedForMeanwhileFollowAsOneToTheLastPartition)
{
    m_videoTarget->waits = true;
    m_sut.joinRouterPartition("R1");
    m_sut.joinRouterPartition("R2");
    m_sut.joinRouterPartition("R3");
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

TEST_F(RouterMembersTest, AJoinThatFailsAfterAWaitLeavesTheNextOnePossible)
{
    m_audioTarget->waits = true;
    m_videoStatus->throws = true;
    m_sut.joinRouterPartition("R1");
    EXPECT_THROW(m_audioTarget->joined(), std::runtime_error);
    m_videoStatus->throws = false;
    m_audioTarget->waits = false;
    m_calls.clear();

    m_sut.joinRouterPartition("R1");

    EXPECT_EQ(m_calls.size(), 8U);
    EXPECT_TRUE(m_server->isConnectedToRouter());
}

TEST_F(RouterMembersTest, AManagerThatCannotJoinKeepsTheServerClosed)
{
    m_videoStatus->throws = true;

    EXPECT_THROW(m_sut.joinRouterPartition("R1"), std::runtime_error);

    EXPECT_EQ(m_calls.back(), "video status joins R1");
    EXPECT_FALSE(m_server->isConnectedToRouter());
}

} // namespace
