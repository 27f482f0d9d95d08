#include "ddskorabridge/LevelMgr.h"

#include "ddskorabridge/LevelImpl.h"
#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"

#include <utility>

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::apartment::SendDoItEvent;
using com::tallowcrest::util::formatText;

LevelMgr::LevelMgr(std::shared_ptr<SendDoItEvent> apartment, const std::string& topicName,
                   std::shared_ptr<IXptTarget> audioTarget, std::shared_ptr<IXptTarget> videoTarget,
                   std::shared_ptr<IXptStatus> audioStatus, std::shared_ptr<IXptStatus> videoStatus,
                   std::shared_ptr<LevelContainer> audioLevels, std::shared_ptr<LevelContainer> videoLevels)
    : MacroLevelSub(apartment, topicName), m_apartment(std::move(apartment)), m_audioTarget(std::move(audioTarget)),
      m_videoTarget(std::move(videoTarget)), m_audioStatus(std::move(audioStatus)),
      m_videoStatus(std::move(videoStatus)), m_audioLevels(std::move(audioLevels)),
      m_videoLevels(std::move(videoLevels)), m_levelInvalid(std::make_shared<LevelInvalid>()),
      m_logger(com::tallowcrest::util::bridgeLogger())
{}

void LevelMgr::joinRouterPartition(const std::string& routerPartition)
{
    LOG_INFO_F(m_logger, "%s joinRouterPartition(routerPartition '%s')", topicName().c_str(), routerPartition.c_str());
    m_routerPartition = routerPartition;
    MacroLevelSub::joinRouterPartition(m_routerPartition);
    onDataAvailable();
}

void LevelMgr::leaveRouterPartition()
{
    LOG_INFO_F(m_logger, "%s leaveRouterPartition(routerPartition '%s')", topicName().c_str(),
               m_routerPartition.c_str());
    m_audioLevels->clear();
    m_videoLevels->clear();
    m_budget.clear();
    m_routerPartition.clear();
    MacroLevelSub::joinRouterPartition(m_routerPartition);
}

void LevelMgr::onDataAvailable()
{
    for (const auto& sample : takeAll())
    {
        // A level that is disposed of stays until the partition is left.
        if (sample.info().valid())
        {
            handleSample(sample.data());
        }
    }
}

void LevelMgr::handleSample(const Sample& sample)
{
    const bool isVideo = sample.levelSignalType == LST_Video;
    if (!isVideo && sample.levelSignalType != LST_Audio)
    {
        return;
    }
    if (!isLevelSize(sample.numMacroXptOutputs))
    {
        LOG_WARN_F(m_logger, "Level %d ignored: %u outputs, must be 1 to %u", static_cast<int>(sample.levelId),
                   sample.numMacroXptOutputs, maxLevelOutputs);
        return;
    }
    if (!m_budget.admit(isVideo, sample.levelId, sample.numMacroXptOutputs))
    {
        m_overBudget.warn(
            {"budget",
             formatText("Level %d ignored: no room beside %zu levels or %u outputs of all levels together",
                        static_cast<int>(sample.levelId), LevelBudget::mostLevels, LevelBudget::mostOutputs)});
        return;
    }
    auto level =
        std::make_shared<LevelImpl>(isVideo ? m_videoTarget : m_audioTarget, isVideo ? m_videoStatus : m_audioStatus,
                                    MappingNumbers{.numXptsPer = 1,
                                                   .xptInputStart = sample.macroXptInputStart,
                                                   .numXptInputs = sample.numMacroXptInputs,
                                                   .controllerInputStart = sample.controllerInputStart,
                                                   .xptOutputStart = sample.macroXptOutputStart,
                                                   .numXptOutputs = sample.numMacroXptOutputs,
                                                   .controllerOutputStart = sample.controllerOutputStart});
    (isVideo ? m_videoLevels : m_audioLevels)->set(sample.levelId, std::move(level));
}

std::shared_ptr<ILevel> LevelMgr::getLevelInstance(std::uint32_t levelNumber)
{
    std::shared_ptr<ILevel> level;
    if (m_audioLevels->find(levelNumber, level) || m_videoLevels->find(levelNumber, level))
    {
        return level;
    }
    LOG_INFO_F(m_logger, "Unable to find level %d", static_cast<int>(levelNumber));
    return m_levelInvalid;
}

void LevelMgr::notifyNewConnection(std::uint32_t connection)
{
    com::tallowcrest::apartment::post(*m_apartment,
                                      std::make_unique<LevelMgrDoItNotifyNewConnection>(m_presence.weak(), connection));
}

void LevelMgr::notifyLevels(std::uint32_t connection)
{
    m_audioLevels->notifyNewConnection(connection);
    m_videoLevels->notifyNewConnection(connection);
}

void LevelMgr::printSample(const std::string& title, const Sample& sample) const
{
    com::tallowcrest::misc::print(
        "%s\n    routerPartition      : %s\n    levelId              : %d\n    levelSignalType      : %d\n"
        "    macroXptInputStart   : %d\n    numMacroXptInputs    : %d\n    controllerInputStart : %d\n"
        "    macroXptOutputStart  : %d\n    numMacroXptOutputs   : %d\n    controllerOutputStart: %d\n",
        title.c_str(), m_routerPartition.c_str(), static_cast<int>(sample.levelId),
        static_cast<int>(sample.levelSignalType), static_cast<int>(sample.macroXptInputStart),
        static_cast<int>(sample.numMacroXptInputs), static_cast<int>(sample.controllerInputStart),
        static_cast<int>(sample.macroXptOutputStart), static_cast<int>(sample.numMacroXptOutputs),
        static_cast<int>(sample.controllerOutputStart));
}

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
