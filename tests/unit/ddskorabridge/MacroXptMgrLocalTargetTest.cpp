#include "ddskorabridge/MacroXptMgrLocalTarget.h"

#include "BusTest.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace com::tallowcrest::dds_::routing;

namespace
{

using Lines = std::vector<std::string>;

constexpr const char* localTopic = "TopicMacroXptOutputVideoLocalTarget";

/// Records the local targets that it is handed.
class RecordingTargetMgr final : public MacroXptMgrTarget
{
public:
    explicit RecordingTargetMgr(std::shared_ptr<FakeApartment> apartment)
        : MacroXptMgrTarget(std::move(apartment), "TopicRouterMemberMacroXptsDxVideo", 288, 288,
                            "TopicMacroXptOutputVideoTarget")
    {}

    void onLocalTarget(const Sample& sample) override { samples.push_back(sample); }

    std::vector<Sample> samples;
};

class MacroXptMgrLocalTargetTest : public BusTest
{
protected:
    std::shared_ptr<RecordingTargetMgr> m_targetMgr = std::make_shared<RecordingTargetMgr>(m_apartment);
    PeerWriter<MacroXptOutput> m_other{m_peer, localTopic, "R1"};
    MacroXptMgrLocalTarget m_sut{m_apartment, localTopic, m_targetMgr};
};

TEST_F(MacroXptMgrLocalTargetTest, LocalTargetsAreHandedOverWithTheCurrentTimecode)
{
    m_sut.joinRouterPartition("R1");

    m_other.write({.macroXptOutput = 300, .macroXptInput = 7, .when = 1, .lprId = 42, .lprState = LPR_LOCKED});

    ASSERT_TRUE(m_apartment->runUntil([this] { return !m_targetMgr->samples.empty(); }));
    EXPECT_EQ(m_targetMgr->samples[0].macroXptOutput, 300U) << "the target manager knows its own limits";
    EXPECT_EQ(m_targetMgr->samples[0].macroXptInput, 7U);
    EXPECT_EQ(m_targetMgr->samples[0].when, now);
    EXPECT_EQ(m_targetMgr->samples[0].lprId, 42U);
    EXPECT_EQ(m_targetMgr->samples[0].lprState, LPR_LOCKED);
}

TEST_F(MacroXptMgrLocalTargetTest, DisposedLocalTargetsAreIgnored)
{
    m_sut.joinRouterPartition("R1");
    m_other.write({.macroXptOutput = 5, .macroXptInput = 7});
    ASSERT_TRUE(m_apartment->runUntil([this] { return m_targetMgr->samples.size() == 1; }));

    m_other.dispose({.macroXptOutput = 5});
    m_other.write({.macroXptOutput = 6, .macroXptInput = 8});

    ASSERT_TRUE(m_apartment->runUntil([this] { return m_targetMgr->samples.size() > 1; }));
    m_apartment->runAll();
    ASSERT_EQ(m_targetMgr->samples.size(), 2U);
    EXPECT_EQ(m_targetMgr->samples[1].macroXptOutput, 6U);
}

TEST_F(MacroXptMgrLocalTargetTest, AfterLeavingNothingIsHandedOver)
{
    m_sut.joinRouterPartition("R1");

    m_sut.leaveRouterPartition();
    m_other.write({.macroXptOutput = 5, .macroXptInput = 7});
    m_apartment->runAll();

    EXPECT_TRUE(m_targetMgr->samples.empty());
    EXPECT_EQ(m_log.takeTexts(),
              (Lines{"INFO TopicMacroXptOutputVideoLocalTarget joinRouterPartition(routerPartition 'R1')",
                     "INFO TopicMacroXptOutputVideoLocalTarget leaveRouterPartition(routerPartition '')"}));
}

} // namespace
