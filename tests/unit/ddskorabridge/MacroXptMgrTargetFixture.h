#pragma once

#include "BusTest.h"
#include "ddskorabridge/MacroXptMgrTarget.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

/// What the tests of the target managers have in common.
namespace targetmgr
{

using namespace com::tallowcrest::dds_::routing;

using Lines = std::vector<std::string>;

inline constexpr const char* memberTopic = "TopicRouterMemberMacroXptsDxVideo";
inline constexpr const char* targetTopic = "TopicMacroXptOutputVideoTarget";
inline constexpr std::uint32_t noInput = 4294967295U;
inline constexpr std::uint32_t maximum = 288;

inline const RouterMemberMacroXpts wholeRouter{.memberIndex = 1,
                                               .macroXptInputStart = 1,
                                               .numMacroXptInputs = 1000,
                                               .macroXptOutputStart = 1,
                                               .numMacroXptOutputs = 1000};

inline std::string text(const MacroXptOutput& sample)
{
    return std::to_string(sample.macroXptOutput) + " " + std::to_string(sample.macroXptInput) + " " +
           std::to_string(sample.when) + " " + std::to_string(sample.lprId) + " " + std::to_string(sample.lprState);
}

/// A manager on the real bus, a router that offers all to it and reads its targets.
class MacroXptMgrTargetFixture : public BusTest
{
protected:
    /// Returns when the bridge has its history.
    void join(MacroXptMgrTarget& manager, const std::string& partition)
    {
        bool isJoined = false;
        manager.beginToJoin(partition, [&isJoined] { isJoined = true; });
        ASSERT_TRUE(m_apartment->runUntil([&isJoined] { return isJoined; }));
    }
    /// A router with members that offer everything, and a manager that has joined it.
    void joinOfferedRouter()
    {
        m_members.write(wholeRouter);
        join(m_sut, "R1");
        ASSERT_TRUE(m_apartment->runUntil([this] { return m_sut.checkTake(1, 1, 0) == 0; }));
        m_log.takeTexts();
    }

    Lines published(PeerReader<MacroXptOutput>& reader, std::size_t count)
    {
        Lines lines;
        m_apartment->runUntil([&] {
            for (const MacroXptOutput& sample : reader.take())
            {
                lines.push_back(text(sample));
            }
            return lines.size() >= count;
        });
        return lines;
    }

    std::string targetOf(std::uint32_t output)
    {
        MacroXptOutput target{.macroXptOutput = output};
        const std::uint32_t result = m_sut.getTarget(output, target.macroXptInput, target.lprState, target.lprId);
        return std::to_string(result) + ": " + std::to_string(target.macroXptInput) + " " +
               std::to_string(target.lprId) + " " + std::to_string(target.lprState);
    }

    PeerWriter<RouterMemberMacroXpts> m_members{m_peer, memberTopic, "R1"};
    PeerReader<MacroXptOutput> m_targets{m_peer, targetTopic, "R1", dds::core::policy::DurabilityKind::PERSISTENT};
    using Purpose = com::tallowcrest::routing::KeptXptOutputs::Purpose;
    static constexpr com::tallowcrest::routing::SourceTime later = INT64_C(2000000000) * 1000000;

    MacroXptMgrTarget m_sut{m_apartment, memberTopic, maximum, maximum, targetTopic};
};

} // namespace targetmgr
