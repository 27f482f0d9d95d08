#include "ddskorabridge/MacroXptMgrLocalTarget.h"

#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "runtime/util/Log.h"

#include <utility>

MacroXptMgrLocalTarget::MacroXptMgrLocalTarget(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment,
                                               const std::string& localTargetTopic,
                                               std::shared_ptr<MacroXptMgrTarget> targetMgr)
    : MacroXptOutputSub(std::move(apartment), localTargetTopic, false, targetMgr->maxOutput()),
      m_targetMgr(std::move(targetMgr)), m_logger(com::tallowcrest::util::bridgeLogger())
{}

void MacroXptMgrLocalTarget::joinRouterPartition(const std::string& routerPartition)
{
    LOG_INFO_F(m_logger, "%s joinRouterPartition(routerPartition '%s')", topicName().c_str(), routerPartition.c_str());
    MacroXptOutputSub::joinRouterPartition(routerPartition);
}

void MacroXptMgrLocalTarget::leaveRouterPartition()
{
    const std::string none;
    LOG_INFO_F(m_logger, "%s leaveRouterPartition(routerPartition '%s')", topicName().c_str(), none.c_str());
    MacroXptOutputSub::joinRouterPartition(none);
}

void MacroXptMgrLocalTarget::onDataAvailable()
{
    const std::uint32_t now = com::tallowcrest::hwobjs::currentTimecode().word();
    for (const auto& sample : takeAll())
    {
        if (sample.info().valid())
        {
            MacroXptMgrTarget::Sample target = sample.data();
            target.when = now;
            m_targetMgr->onLocalTarget(target);
        }
    }
}
