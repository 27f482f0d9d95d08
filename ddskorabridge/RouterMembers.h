#pragma once

#include "buswrappers/RouterMemberMgr.h"

#include <memory>
#include <string>

class LevelMgr;
class MacroXptMgrLocalTarget;
class MacroXptMgrStatus;
class MacroXptMgrTarget;
class Server;

/// Moves every part of the bridge that lives in a router's partition, and the controller server last: levels and
/// crosspoints are in the partition before a controller can connect, and the server is the last to hear that the router
/// is gone. Owned by the Director, called by the router member manager. Apartment-bound. When one part throws, those
/// behind it are not called.
class RouterMembers : public com::tallowcrest::routing::IRouterMember
{
public:
    RouterMembers(std::shared_ptr<LevelMgr> levelMgr, std::shared_ptr<MacroXptMgrTarget> audioTarget,
                  std::shared_ptr<MacroXptMgrTarget> videoTarget, std::shared_ptr<MacroXptMgrStatus> audioStatus,
                  std::shared_ptr<MacroXptMgrStatus> videoStatus,
                  std::shared_ptr<MacroXptMgrLocalTarget> audioLocalTarget,
                  std::shared_ptr<MacroXptMgrLocalTarget> videoLocalTarget, std::shared_ptr<Server> server);
    ~RouterMembers() override;

    // IRouterMember
    void joinRouterPartition(std::string routerPartition) override;
    void leaveRouterPartition() override;

private:
    const std::shared_ptr<LevelMgr> m_levelMgr;
    const std::shared_ptr<MacroXptMgrTarget> m_audioTarget;
    const std::shared_ptr<MacroXptMgrTarget> m_videoTarget;
    const std::shared_ptr<MacroXptMgrStatus> m_audioStatus;
    const std::shared_ptr<MacroXptMgrStatus> m_videoStatus;
    const std::shared_ptr<MacroXptMgrLocalTarget> m_audioLocalTarget;
    const std::shared_ptr<MacroXptMgrLocalTarget> m_videoLocalTarget;
    const std::shared_ptr<Server> m_server;
};
