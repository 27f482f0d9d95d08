#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/DurableXptOutputPub.h"
#include "buswrappers/TypedTopics.h"
#include "ddskorabridge/IXptTarget.h"
#include "ddskorabridge/MacroXptAvailable.h"
#include "ddskorabridge/MacroXptTable.h"
#include "ddskorabridge/RouterMembers.h"
#include "runtime/util/FailureLog.h"

#include <log4cxx/logger.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The crosspoint targets of one signal type: for every macro output the input that the bridge wants routed to it and
/// who holds it locked or protected. Checks requests against the table and against what the router members offer,
/// publishes every change on the target topic, and on a join takes over the last targets of the partition. A target
/// that was decided later than what is reloaded stays. Owned by the Director, shared by the levels and the local-target
/// manager. Apartment-bound. Failures of the bus leave as the bus layer's exceptions; a take or lock that could not be
/// published is not stored either.
class MacroXptMgrTarget : public com::tallowcrest::routing::RouterMemberXptsSub,
                          public com::tallowcrest::routing::KeptXptOutputsHandler,
                          public IPartitionBound,
                          public IXptTarget,
                          public IXptTable
{
public:
    using Sample = com::tallowcrest::dds_::routing::MacroXptOutput;
    using LPRState = com::tallowcrest::dds_::routing::LPRState;

    /// `memberTopic` carries the ranges of the router members; `maxInput` and `maxOutput` are the greatest macro
    /// numbers.
    MacroXptMgrTarget(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment,
                      const std::string& memberTopic, std::uint32_t maxInput, std::uint32_t maxOutput,
                      const std::string& targetTopic);

    void expectToJoin(const std::string& routerPartition) override { m_publisher.expectToJoin(routerPartition); }
    /// Moves into the partition. The targets last published there follow, and are published again.
    void joinRouterPartition(const std::string& routerPartition) override;
    /// The same; `joined` says that they have been. Requests are answered from the table until then.
    void beginToJoin(const std::string& routerPartition, const std::function<void()>& joined) override;
    /// Moves out of every router's partition; the table stays.
    void leaveRouterPartition() override;

    // IXptTarget
    std::uint32_t checkTake(std::uint32_t output, std::uint32_t input, std::uint32_t lprId) const override;
    void take(std::uint32_t output, std::uint32_t input, std::uint32_t lprId, std::uint32_t when) override;
    std::uint32_t checkLpr(std::uint32_t output, bool force, std::uint32_t lprId) const override;
    void setLpr(std::uint32_t output, std::uint32_t lprId, LPRState lprState, std::uint32_t when) override;

    /// A target that another party set: adopted when the output has none yet; the output's target is published either
    /// way. Outputs beyond the table are ignored.
    virtual void onLocalTarget(const Sample& sample);
    /// A target published in this partition at `written`: replaces the output's target and is published again, unless
    /// the table's was written later. Outputs beyond the table are ignored.
    virtual void onDurableTarget(const Sample& sample, com::tallowcrest::routing::SourceTime written);

    /// The output's target. 0, 3 when no member offers its input, or 4 for an output beyond the table, which leaves the
    /// three values as they were.
    std::uint32_t getTarget(std::uint32_t output, std::uint32_t& input, LPRState& lprState, std::uint32_t& lprId) const;

    /// The greatest macro output number.
    std::uint32_t maxOutput() const { return m_targets.maxOutput(); }

    // IXptTable
    std::string table(std::uint32_t first, std::uint32_t last) const override;
    /// Prints the same to the console.
    void show(std::uint32_t first, std::uint32_t last) const;

    // DataReaderListenerHandler
    void onDataAvailable() override;

    // KeptXptOutputsHandler
    void onKept(const com::tallowcrest::routing::KeptXptOutputs& kept) override;

private:
    using MemberSample = com::tallowcrest::dds_::routing::RouterMemberMacroXpts;

    bool isJoined() const { return !m_routerPartition.empty(); }
    bool isOutputOffered(std::uint32_t output) const;
    void getDurableData();
    void decide(const Sample& target);
    bool isNewest(const Sample& target, com::tallowcrest::routing::SourceTime written) const;
    bool adopt(const Sample& target, com::tallowcrest::routing::SourceTime written);
    void logMember(const char* operation, const MemberSample& sample) const;

    std::string m_routerPartition; ///< empty until joined
    std::string m_lastPartition;   ///< the last router's, in which the times of m_written count
    const std::uint32_t m_maxInput;
    MacroXptTable m_targets;
    std::vector<com::tallowcrest::routing::SourceTime> m_written; ///< by output; 0: never, or in another partition
    const std::string m_targetTopic;
    std::function<void()> m_joined; ///< set while the history is awaited
    com::tallowcrest::routing::DurableXptOutputPub m_publisher;
    MacroXptAvailable m_available;
    log4cxx::LoggerPtr m_logger;
    com::tallowcrest::util::FailureLog m_tooManyMembers{m_logger};
};
