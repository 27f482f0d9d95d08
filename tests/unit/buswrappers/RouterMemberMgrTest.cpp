#include "buswrappers/RouterMemberMgr.h"

#include "runtime/apartment/Apartment.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/unit/buswrappers/RouterSide.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

using com::tallowcrest::dds_::routing::RouterMember;
using com::tallowcrest::routing::IRouterMember;
using com::tallowcrest::routing::RouterMemberMgr;

namespace
{

const std::string prefix = "com:tallowcrest:routing:";

class RecordingRouterMember final : public IRouterMember
{
public:
    void joinRouterPartition(std::string routerPartition) override
    {
        m_joined.push_back(std::move(routerPartition));
        m_joins = static_cast<int>(m_joined.size());
    }
    void leaveRouterPartition() override { ++m_leaves; }

    std::vector<std::string> m_joined;
    std::atomic<int> m_joins{0};
    int m_leaves = 0;
};

} // namespace

class RouterMemberMgrTest : public testing::Test
{
protected:
    testsupport::WireDomain m_wire;
    RouterSide<RouterMember> m_router{m_wire, "TopicRouterMember", prefix};
    std::shared_ptr<FakeApartment> m_apartment = std::make_shared<FakeApartment>();
    std::shared_ptr<RecordingRouterMember> m_member = std::make_shared<RecordingRouterMember>();
};

TEST_F(RouterMemberMgrTest, ReadsInTheBarePartitionFromConstructionOn)
{
    const RouterMemberMgr sut(m_apartment, "TopicRouterMember", 12, m_member);

    const auto announced = m_wire.discoveredReader("TopicRouterMember");
    EXPECT_TRUE(m_router.waitForReaders(1));
    EXPECT_TRUE(announced);
    EXPECT_EQ(sut.routerPartition(), "");
}

TEST_F(RouterMemberMgrTest, JoinsThePartitionOfItsOwnFrameAndPrintsTheMembership)
{
    RouterMemberMgr sut(m_apartment, "TopicRouterMember", 12, m_member);
    m_router.writer().write({12, "R1", 3});

    testing::internal::CaptureStdout();
    const bool joined = m_apartment->runUntil([&] { return m_member->m_joins > 0; });
    const std::string printed = testing::internal::GetCapturedStdout();

    EXPECT_TRUE(joined);
    EXPECT_EQ(m_member->m_joined, std::vector<std::string>{"R1"});
    EXPECT_EQ(printed, "=== [RouterMemberMgr] message received\n"
                       "    frameId         : 12\n    routerPartition : R1\n    memberIndex     : 3\n");
}

TEST_F(RouterMemberMgrTest, GetsAMembershipThatWasAnnouncedBeforeIt)
{
    m_router.writer().write({12, "0123456789abcdef", 3});

    RouterMemberMgr sut(m_apartment, "TopicRouterMember", 12, m_member);

    EXPECT_TRUE(m_apartment->runUntil([&] { return m_member->m_joins > 0; }));
    EXPECT_EQ(m_member->m_joined, std::vector<std::string>{"0123456789abcdef"});
}

TEST_F(RouterMemberMgrTest, AnotherFramesMembershipPrintsAndJoinsNothing)
{
    RouterMemberMgr sut(m_apartment, "TopicRouterMember", 12, m_member);

    testing::internal::CaptureStdout();
    m_router.writer().write({13, "R2", 0});
    m_router.writer().write({12, "R1", 0});
    const bool joined = m_apartment->runUntil([&] { return m_member->m_joins > 0; });
    const std::string printed = testing::internal::GetCapturedStdout();

    EXPECT_TRUE(joined);
    EXPECT_EQ(m_member->m_joined, std::vector<std::string>{"R1"});
    EXPECT_EQ(printed.find("R2"), std::string::npos);
}

TEST_F(RouterMemberMgrTest, EveryAnnouncementJoinsAlsoOfTheSamePartition)
{
    RouterMemberMgr sut(m_apartment, "TopicRouterMember", 12, m_member);
    m_router.writer().write({12, "R1", 0});
    ASSERT_TRUE(m_apartment->runUntil([&] { return m_member->m_joins == 1; }));

    m_router.writer().write({12, "R1", 0});
    ASSERT_TRUE(m_apartment->runUntil([&] { return m_member->m_joins == 2; }));
    m_router.writer().write({12, "R2", 1});
    ASSERT_TRUE(m_apartment->runUntil([&] { return m_member->m_joins == 3; }));

    EXPECT_EQ(m_member->m_joined, (std::vector<std::string>{"R1", "R1", "R2"}));
}

TEST_F(RouterMemberMgrTest, DisposedMembershipIsIgnored)
{
    RouterMemberMgr sut(m_apartment, "TopicRouterMember", 12, m_member);
    m_router.writer().write({12, "R1", 0});
    ASSERT_TRUE(m_apartment->runUntil([&] { return m_member->m_joins == 1; }));

    m_apartment->runAll();
    const std::size_t before = m_apartment->processed();
    m_router.writer().dispose_instance(m_router.writer().register_instance({12, "R1", 0}));
    ASSERT_TRUE(m_apartment->runUntil([&] { return m_apartment->processed() > before; }));
    m_router.writer().write({12, "R2", 0}); // arrives behind it
    ASSERT_TRUE(m_apartment->runUntil([&] { return m_member->m_joined.back() == "R2"; }));

    EXPECT_EQ(m_member->m_joined, (std::vector<std::string>{"R1", "R2"}));
    EXPECT_EQ(m_member->m_leaves, 0);
}

TEST_F(RouterMemberMgrTest, LostWriterIsIgnored)
{
    RouterMemberMgr sut(m_apartment, "TopicRouterMember", 12, m_member);
    {
        RouterSide<RouterMember> other(m_wire, "TopicRouterMember", prefix);
        other.writer().write({12, "R1", 0});
        ASSERT_TRUE(m_apartment->runUntil([&] { return m_member->m_joins == 1; }));
    }
    m_router.writer().write({12, "R2", 0});
    ASSERT_TRUE(m_apartment->runUntil([&] { return m_member->m_joins == 2; }));

    EXPECT_EQ(m_member->m_leaves, 0);
}

TEST_F(RouterMemberMgrTest, CanBeMadeWhileTheApartmentRuns)
{
    const auto apartment = std::make_shared<com::tallowcrest::apartment::Apartment>("Test Apartment");
    apartment->start();
    m_router.writer().write({12, "R1", 0});

    const RouterMemberMgr sut(apartment, "TopicRouterMember", 12, m_member);

    EXPECT_TRUE(testsupport::waitUntil([&] { return m_member->m_joins == 1; }));
    apartment->stop();
}
