#pragma once

#include "buswrappers/TypedTopics.h"
#include "ddskorabridge/MacroXptMgrTarget.h"
#include "ddskorabridge/RouterMembers.h"

#include <log4cxx/logger.h>

#include <memory>
#include <string>

/// Listens to the targets that other parties set for one signal type and hands them to its target manager. Owned by the
/// Director. Apartment-bound. Failures of the bus leave as the bus layer's exceptions.
class MacroXptMgrLocalTarget : public com::tallowcrest::routing::MacroXptOutputSub, public IPartitionBound
{
public:
    MacroXptMgrLocalTarget(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment,
                           const std::string& localTargetTopic, std::shared_ptr<MacroXptMgrTarget> targetMgr);

    void joinRouterPartition(const std::string& routerPartition) override;
    /// Moves out of every router's partition.
    void leaveRouterPartition() override;

    // DataReaderListenerHandler
    void onDataAvailable() override;

private:
    const std::shared_ptr<MacroXptMgrTarget> m_targetMgr;
    log4cxx::LoggerPtr m_logger;
};
