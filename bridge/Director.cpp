#include "bridge/Director.h"

#include "bridge/DayReport.h"
#include "bridge/Logging.h"
#include "bridge/MetricsFile.h"
#include "bridge/ServiceManager.h"
#include "bridge/StartResources.h"
#include "bustypes/TopicNames.h"
#include "buswrappers/BusRound.h"
#include "buswrappers/ComponentInfoPub.h"
#include "buswrappers/LibraryLog.h"
#include "buswrappers/Participant.h"
#include "buswrappers/RouterMemberMgr.h"
#include "ddskorabridge/LevelContainer.h"
#include "ddskorabridge/LevelMgr.h"
#include "ddskorabridge/MacroXptMgrLocalTarget.h"
#include "ddskorabridge/MacroXptMgrStatus.h"
#include "ddskorabridge/MacroXptMgrTarget.h"
#include "ddskorabridge/RouterMembers.h"
#include "koracommand/CmdHandlerImpl.h"
#include "koracommand/LevelAccess.h"
#include "koraserver/ConnectionImpl.h"
#include "koraserver/Server.h"
#include "runtime/apartment/Apartment.h"
#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "runtime/hwobjs/TimecodeSharedMem.h"
#include "runtime/misc/Console.h"
#include "runtime/misc/TelnetIO.h"
#include "runtime/util/Log.h"
#include "runtime/util/Metrics.h"

#include <exception>
#include <utility>
#include <vector>

namespace apartment = com::tallowcrest::apartment;
namespace hwobjs = com::tallowcrest::hwobjs;
namespace misc = com::tallowcrest::misc;
namespace routing = com::tallowcrest::routing;
namespace util = com::tallowcrest::util;
using com::tallowcrest::dds_::routing::LST_Audio;
using com::tallowcrest::dds_::routing::LST_Video;
using com::tallowcrest::dds_::routing::MacroLevel;
using routing::TopicName;
using routing::topicName;

namespace
{

constexpr const char* loggingConfiguration = "/etc/tc/log/korabridge-log.xml";
constexpr std::uint16_t telnetPort = 8882;

/// Comes onto the bus and says what runs where; also when the bus is not to be had.
auto enterBus()
{
    const auto say = [] {
        LOG_INFO_F(util::bridgeLogger(), "korabridge %s, %s", KORABRIDGE_VERSION, routing::busDescription().c_str());
    };
    try
    {
        auto participant = routing::sharedParticipant();
        say();
        routing::logWhatTheLibrarySays(); // not before the log's first line
        return participant;
    }
    catch (const std::exception&)
    {
        say();
        throw;
    }
}

} // namespace

bool Director::m_started = false;
std::shared_ptr<Server> Director::m_server;
std::shared_ptr<MacroXptMgrTarget> Director::m_audioTargetMgr;
std::shared_ptr<MacroXptMgrTarget> Director::m_videoTargetMgr;
std::shared_ptr<MacroXptMgrStatus> Director::m_audioStatusMgr;
std::shared_ptr<MacroXptMgrStatus> Director::m_videoStatusMgr;
std::shared_ptr<LevelContainer> Director::m_videoLevels;
std::shared_ptr<LevelContainer> Director::m_audioLevels;
std::shared_ptr<LevelMgr> Director::m_levelMgr;
log4cxx::LoggerPtr Director::m_logger;
std::shared_ptr<routing::RouterMemberMgr> Director::m_routerMemberMgr;
std::shared_ptr<RouterMembers> Director::m_routerMembers;
std::shared_ptr<MacroXptMgrLocalTarget> Director::m_audioLocalTargetMgr;
std::shared_ptr<MacroXptMgrLocalTarget> Director::m_videoLocalTargetMgr;
std::uint32_t Director::m_koraBridgeId = 0;
std::uint32_t Director::m_frameId = 0;
std::string Director::m_koraBridgeName;
std::string Director::m_description;
std::shared_ptr<routing::ComponentInfoPub> Director::m_componentInfoPub;
std::shared_ptr<ConnectionFactoryImpl> Director::m_connectionFactory;
std::shared_ptr<CmdHandlerFactoryImpl> Director::m_cmdHandlerFactory;
std::shared_ptr<hwobjs::TimecodeSharedMem> Director::m_timecodeSource;
std::shared_ptr<MetricsFile> Director::m_metricsFile;
std::shared_ptr<DayReport> Director::m_dayReport;
std::shared_ptr<ServiceManager> Director::m_serviceManager;

const MacroLevel Director::m_audioLevelDescriptor{.levelId = 2,
                                                  .levelSignalType = LST_Audio,
                                                  .macroXptInputStart = 1,
                                                  .numMacroXptInputs = 2304,
                                                  .controllerInputStart = 1,
                                                  .macroXptOutputStart = 1,
                                                  .numMacroXptOutputs = 2304,
                                                  .controllerOutputStart = 1};

const MacroLevel Director::m_videoLevelDescriptor{.levelId = 1,
                                                  .levelSignalType = LST_Video,
                                                  .macroXptInputStart = 1,
                                                  .numMacroXptInputs = 288,
                                                  .controllerInputStart = 1,
                                                  .macroXptOutputStart = 1,
                                                  .numMacroXptOutputs = 288,
                                                  .controllerOutputStart = 1};

bool Director::startSystem(std::uint32_t frameId, std::uint32_t koraBridgeId, std::string koraBridgeName,
                           std::string description)
{
    if (m_started)
    {
        return true;
    }
    // 1, 2: flag, identity, logging
    m_started = true;
    m_koraBridgeId = koraBridgeId;
    m_frameId = frameId;
    m_koraBridgeName = std::move(koraBridgeName);
    m_description = std::move(description);
    configureLogging(loggingConfiguration, 0);
    guardLogAppenders();
    m_logger = util::bridgeLogger();
    awaitStartResources(m_logger);
    const auto participant = enterBus(); // held until the wrappers hold it

    createControllerLink(); // 3, 4
    createTelnetConsole();  // 5

    // 6: timecode
    m_timecodeSource = std::make_shared<hwobjs::TimecodeSharedMem>();
    hwobjs::setCurrentTimecodeReader(m_timecodeSource);

    // 7: the apartment
    apartment::createBridgeApartment(std::make_shared<routing::BusRound>());

    // 8: level containers
    m_audioLevels = std::make_shared<LevelContainer>();
    m_videoLevels = std::make_shared<LevelContainer>();

    // 9: announcement
    m_componentInfoPub = std::make_shared<routing::ComponentInfoPub>(apartment::bridgeApartment(),
                                                                     topicName(TopicName::ComponentInfoKoraBridge));
    m_componentInfoPub->publish(m_frameId, m_koraBridgeId, m_koraBridgeName, m_description);

    createCrosspointManagers(); // 10 to 15
    createLevels();             // 16, 17

    // 18: the server, not started yet
    m_server = std::make_shared<Server>(util::bridgeLoggerName, m_connectionFactory, m_levelMgr);

    createRouterMembership(); // 19, 20

    // 21, 22
    LOG_INFO_F(m_logger, "Starting korabridge, koraBridgeId %d, koraBridgeName %s", static_cast<int>(m_koraBridgeId),
               m_koraBridgeName.c_str());
    m_server->start();
    beWatched();
    return true;
}

void Director::beWatched()
{
    if (const auto path = metricsPath(); !path.empty())
    {
        m_metricsFile = std::make_shared<MetricsFile>(path);
    }
    const auto bridge = apartment::bridgeApartment();
    m_dayReport = std::make_shared<DayReport>(*bridge, bridge->alarmClock());
    m_serviceManager = std::make_shared<ServiceManager>(
        *bridge, bridge->alarmClock(),
        ServiceManager::Questions{
            .isUp = [console = misc::console()] { return console->isListening() && m_server->isHoldingPort(); },
            .status = &Director::status});
}

std::string Director::status()
{
    const std::string& partition = m_levelMgr->routerPartition();
    const std::string where = partition.empty() ? "no router for frame " + std::to_string(m_frameId) + " yet"
                              : m_server->isConnectedToRouter() ? "joined " + partition
                                                                : "joining " + partition;
    const auto controllers = util::gaugeValue("korabridge_controllers_connected").value_or(0);
    const bool isStoreUsed = util::gaugeValue("korabridge_store_usable").value_or(0) != 0;
    return where + ", " + std::to_string(controllers) + (controllers == 1 ? " controller" : " controllers") +
           (isStoreUsed ? ", store ok" : ", store not in use");
}

void Director::createControllerLink()
{
    m_cmdHandlerFactory = std::make_shared<CmdHandlerFactoryImpl>(util::bridgeLoggerName);
    m_connectionFactory = std::make_shared<ConnectionFactoryImpl>(util::bridgeLoggerName, m_cmdHandlerFactory);
}

void Director::createTelnetConsole()
{
    auto console = std::make_shared<misc::TelnetIO>(util::bridgeLoggerName, telnetPort, true);
    misc::setConsole(console);
    console->start();
}

void Director::createCrosspointManagers()
{
    const auto bridge = apartment::bridgeApartment();
    const auto& audio = m_audioLevelDescriptor;
    const auto& video = m_videoLevelDescriptor;
    m_audioTargetMgr = std::make_shared<MacroXptMgrTarget>(bridge, topicName(TopicName::RouterMemberMacroXptsDxAudio),
                                                           audio.numMacroXptInputs, audio.numMacroXptOutputs,
                                                           topicName(TopicName::MacroXptOutputAudioTarget));
    m_videoTargetMgr = std::make_shared<MacroXptMgrTarget>(bridge, topicName(TopicName::RouterMemberMacroXptsDxVideo),
                                                           video.numMacroXptInputs, video.numMacroXptOutputs,
                                                           topicName(TopicName::MacroXptOutputVideoTarget));
    m_audioStatusMgr = std::make_shared<MacroXptMgrStatus>(
        bridge, audio.numMacroXptOutputs, topicName(TopicName::MacroXptOutputAudioStatus), m_audioLevels);
    m_videoStatusMgr = std::make_shared<MacroXptMgrStatus>(
        bridge, video.numMacroXptOutputs, topicName(TopicName::MacroXptOutputVideoStatus), m_videoLevels);
    m_videoLocalTargetMgr = std::make_shared<MacroXptMgrLocalTarget>(
        bridge, topicName(TopicName::MacroXptOutputVideoLocalTarget), m_videoTargetMgr);
    m_audioLocalTargetMgr = std::make_shared<MacroXptMgrLocalTarget>(
        bridge, topicName(TopicName::MacroXptOutputAudioLocalTarget), m_audioTargetMgr);
}

void Director::createLevels()
{
    m_levelMgr =
        std::make_shared<LevelMgr>(apartment::bridgeApartment(), topicName(TopicName::MacroLevel), m_audioTargetMgr,
                                   m_videoTargetMgr, m_audioStatusMgr, m_videoStatusMgr, m_audioLevels, m_videoLevels);
    setLevelAccess(m_levelMgr);
    // No membership is read and no controller is served yet, so the apartment has nothing to do with levels so far.
    m_levelMgr->handleSample(m_videoLevelDescriptor);
    m_levelMgr->handleSample(m_audioLevelDescriptor);
}

void Director::createRouterMembership()
{
    m_routerMembers = std::make_shared<RouterMembers>(
        std::vector<std::shared_ptr<IPartitionBound>>{m_levelMgr, m_audioTargetMgr, m_videoTargetMgr, m_audioStatusMgr,
                                                      m_videoStatusMgr, m_audioLocalTargetMgr, m_videoLocalTargetMgr},
        m_server, apartment::bridgeApartment()->alarmClock());
    m_routerMemberMgr = std::make_shared<routing::RouterMemberMgr>(
        apartment::bridgeApartment(), topicName(TopicName::RouterMember), m_frameId, m_routerMembers);
}

bool Director::stopSystem()
{
    if (!m_started)
    {
        return true;
    }
    // 1
    m_started = false;
    LOG_INFO_F(m_logger, "Stopping korabridge");
    ServiceManager::stopping();

    // 2, 3: nothing runs on a manager from here on
    if (m_server)
    {
        m_server->stop();
    }
    if (const auto bridge = apartment::bridgeApartment())
    {
        bridge->stop();
    }
    m_serviceManager.reset();
    m_dayReport.reset();
    m_metricsFile.reset();

    // 4
    if (const auto console = misc::console())
    {
        console->stop();
    }
    misc::resetConsole();

    releaseManagers();       // 5
    withdrawComponentInfo(); // 6

    // 7
    m_audioLevels.reset();
    m_videoLevels.reset();
    m_server.reset();
    m_connectionFactory.reset();
    m_cmdHandlerFactory.reset();
    m_timecodeSource.reset();

    // 8 to 10
    hwobjs::resetCurrentTimecodeReader();
    m_logger = nullptr;
    apartment::resetBridgeApartment();
    return true;
}

void Director::releaseManagers()
{
    // Levels hold the status managers, which hold the containers of the levels: that ring must be opened first.
    for (const auto& levels : {m_audioLevels, m_videoLevels})
    {
        if (levels)
        {
            levels->clear();
        }
    }
    m_routerMemberMgr.reset();
    m_routerMembers.reset();
    m_audioTargetMgr.reset();
    m_videoTargetMgr.reset();
    m_audioStatusMgr.reset();
    m_videoStatusMgr.reset();
    resetLevelAccess();
    m_levelMgr.reset();
    m_audioLocalTargetMgr.reset();
    m_videoLocalTargetMgr.reset();
}

void Director::withdrawComponentInfo()
{
    if (!m_componentInfoPub)
    {
        return;
    }
    try
    {
        m_componentInfoPub->withdraw(m_frameId, m_koraBridgeId, m_koraBridgeName, m_description);
    }
    catch (const std::exception& error)
    {
        REPORT_ERROR_F(m_logger, "Failed to withdraw the component info of bridge %d, %s",
                       static_cast<int>(m_koraBridgeId), error.what());
    }
    m_componentInfoPub.reset();
}
