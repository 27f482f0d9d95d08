#include "ddskorabridge/RouterMembers.h"

#include "ddskorabridge/LevelMgr.h"
#include "ddskorabridge/MacroXptMgrLocalTarget.h"
#include "ddskorabridge/MacroXptMgrStatus.h"
#include "ddskorabridge/MacroXptMgrTarget.h"
#include "koraserver/Server.h"
#include "runtime/apartment/ThreadPriority.h"

#include <utility>

RouterMembers::RouterMembers(std::shared_ptr<LevelMgr> levelMgr, std::shared_ptr<MacroXptMgrTarget> audioTarget,
                             std::shared_ptr<MacroXptMgrTarget> videoTarget,
                             std::shared_ptr<MacroXptMgrStatus> audioStatus,
                             std::shared_ptr<MacroXptMgrStatus> videoStatus,
                             std::shared_ptr<MacroXptMgrLocalTarget> audioLocalTarget,
                             std::shared_ptr<MacroXptMgrLocalTarget> videoLocalTarget, std::shared_ptr<Server> server)
    : m_levelMgr(std::move(levelMgr)), m_audioTarget(std::move(audioTarget)), m_videoTarget(std::move(videoTarget)),
      m_audioStatus(std::move(audioStatus)), m_videoStatus(std::move(videoStatus)),
      m_audioLocalTarget(std::move(audioLocalTarget)), m_videoLocalTarget(std::move(videoLocalTarget)),
      m_server(std::move(server))
{}

RouterMembers::~RouterMembers() = default;

void RouterMembers::joinRouterPartition(std::string routerPartition)
{
    // This may take seconds, and starts threads.
    const com::tallowcrest::apartment::OrdinaryPriority ordinary;
    m_levelMgr->joinRouterPartition(routerPartition);
    m_audioTarget->joinRouterPartition(routerPartition);
    m_videoTarget->joinRouterPartition(routerPartition);
    m_audioStatus->joinRouterPartition(routerPartition);
    m_videoStatus->joinRouterPartition(routerPartition);
    m_audioLocalTarget->joinRouterPartition(routerPartition);
    m_videoLocalTarget->joinRouterPartition(routerPartition);
    m_server->connectToRouter();
}

void RouterMembers::leaveRouterPartition()
{
    m_levelMgr->leaveRouterPartition();
    m_audioTarget->leaveRouterPartition();
    m_videoTarget->leaveRouterPartition();
    m_audioStatus->leaveRouterPartition();
    m_videoStatus->leaveRouterPartition();
    m_audioLocalTarget->leaveRouterPartition();
    m_videoLocalTarget->leaveRouterPartition();
    m_server->disconnectFromRouter();
}
