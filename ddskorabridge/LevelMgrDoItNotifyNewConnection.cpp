#include "ddskorabridge/LevelMgrDoItNotifyNewConnection.h"

#include "ddskorabridge/LevelMgr.h"

#include <utility>

LevelMgrDoItNotifyNewConnection::LevelMgrDoItNotifyNewConnection(std::weak_ptr<LevelMgr> levelMgr,
                                                                 std::uint32_t connection)
    : m_levelMgr(std::move(levelMgr)), m_connection(connection)
{}

void LevelMgrDoItNotifyNewConnection::doIt()
{
    if (const auto levelMgr = m_levelMgr.lock())
    {
        levelMgr->notifyLevels(m_connection);
    }
}
