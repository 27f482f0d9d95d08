#pragma once

#include "runtime/apartment/DoItEvent.h"
#include "runtime/util/Pooled.h"

#include <cstdint>
#include <memory>

class LevelMgr;

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
