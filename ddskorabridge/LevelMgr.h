#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TypedTopics.h"
#include "ddskorabridge/IXptStatus.h"
#include "ddskorabridge/IXptTarget.h"
#include "ddskorabridge/LevelBudget.h"
#include "ddskorabridge/LevelContainer.h"
#include "ddskorabridge/RouterMembers.h"
#include "koracommand/LevelAccess.h"
#include "koraserver/Connection.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/apartment/Presence.h"
#include "runtime/util/FailureLog.h"
#include "runtime/util/Pooled.h"

#include <log4cxx/logger.h>

#include <cstdint>
#include <memory>
#include <string>

/// Builds the levels from the level descriptions on the bus, finds them by number, and announces new connections to
/// them. Owned by the Director, and gone only once the apartment has stopped. Apartment-bound, except
/// `notifyNewConnection`, which may be called from any thread. Failures of the bus leave as the bus layer's exceptions.
class LevelMgr : public com::tallowcrest::routing::MacroLevelSub,
                 public IPartitionBound,
                 public NotifyNewConnection,
                 public ILevelAccess
{
public:
    using Sample = com::tallowcrest::dds_::routing::MacroLevel;

    /// A level with more outputs is ignored: it is beyond the largest router, and its change masks would be taken from
    /// the memory of everything else.
    static constexpr std::uint32_t maxLevelOutputs = com::tallowcrest::dds_::routing::largestLevel;

    LevelMgr(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment, const std::string& topicName,
             std::shared_ptr<IXptTarget> audioTarget, std::shared_ptr<IXptTarget> videoTarget,
             std::shared_ptr<IXptStatus> audioStatus, std::shared_ptr<IXptStatus> videoStatus,
             std::shared_ptr<LevelContainer> audioLevels, std::shared_ptr<LevelContainer> videoLevels);

    /// Moves into the partition and builds the levels that are published there already.
    void joinRouterPartition(const std::string& routerPartition) override;
    /// Forgets every level and moves out of every router's partition.
    void leaveRouterPartition() override;

    /// Builds the level that a valid sample describes, in place of the one that had its number in the same container.
    /// Ignored without a word: an unknown signal type. Ignored with a warning: no outputs, or more than the maximum, or
    /// a level beyond the budget.
    void handleSample(const Sample& sample);

    // DataReaderListenerHandler
    void onDataAvailable() override;
    // NotifyNewConnection; any thread
    void notifyNewConnection(std::uint32_t connection) override;
    // ILevelAccess; an audio level hides a video level of the same number
    std::shared_ptr<ILevel> getLevelInstance(std::uint32_t levelNumber) override;

    /// Marks every output of every level changed for the connection.
    void notifyLevels(std::uint32_t connection);

    /// Prints a level description under a title to the console. For whoever looks for a fault: no menu item calls it.
    void printSample(const std::string& title, const Sample& sample) const;

private:
    const std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> m_apartment;
    const std::shared_ptr<IXptTarget> m_audioTarget;
    const std::shared_ptr<IXptTarget> m_videoTarget;
    const std::shared_ptr<IXptStatus> m_audioStatus;
    const std::shared_ptr<IXptStatus> m_videoStatus;
    const std::shared_ptr<LevelContainer> m_audioLevels;
    const std::shared_ptr<LevelContainer> m_videoLevels;
    const std::shared_ptr<LevelInvalid> m_levelInvalid;
    std::string m_routerPartition; ///< empty until joined
    LevelBudget m_budget;
    log4cxx::LoggerPtr m_logger;
    com::tallowcrest::util::FailureLog m_overBudget{m_logger};
    const com::tallowcrest::apartment::Presence<LevelMgr> m_presence{*this}; ///< for events
};

/// Announces a new controller connection to every level, on the level manager's apartment. Holds the level manager
/// weakly, because an apartment that never runs the event again must not keep its own owner alive.
class LevelMgrDoItNotifyNewConnection final
    : public com::tallowcrest::util::Pooled<LevelMgrDoItNotifyNewConnection, com::tallowcrest::apartment::DoItEvent>
{
public:
    static constexpr const char* poolName = "LevelMgrDoItNotifyNewConnection";

    LevelMgrDoItNotifyNewConnection(std::weak_ptr<LevelMgr> levelMgr, std::uint32_t connection);

    void doIt() override;

private:
    const std::weak_ptr<LevelMgr> m_levelMgr;
    const std::uint32_t m_connection;
};
