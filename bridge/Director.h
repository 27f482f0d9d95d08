#pragma once

#include "bustypes/RoutingTypes.h"

#include <log4cxx/logger.h>

#include <cstdint>
#include <memory>
#include <string>

namespace com::tallowcrest::hwobjs
{
class TimecodeSharedMem;
}
namespace com::tallowcrest::routing
{
class ComponentInfoPub;
class RouterMemberMgr;
} // namespace com::tallowcrest::routing
class CmdHandlerFactoryImpl;
class ConnectionFactoryImpl;
class DayReport;
class LevelContainer;
class LevelMgr;
class MacroXptMgrLocalTarget;
class MacroXptMgrStatus;
class MacroXptMgrTarget;
class MetricsFile;
class RouterMembers;
class Server;
class ServiceManager;

/// Owns every long-lived object of the bridge and fixes the order in which they are created and destroyed. Its
/// operations belong to the main thread. An exception of a constructor leaves `startSystem` with everything built so
/// far in place; `stopSystem` then takes down what there is.
class Director
{
public:
    /// Builds and starts everything; returns true. Does nothing when already started.
    static bool startSystem(std::uint32_t frameId, std::uint32_t koraBridgeId, std::string koraBridgeName,
                            std::string description);

    /// Stops and releases everything; returns true. Does nothing when not started. Trouble on the way is logged at
    /// ERROR and does not keep the rest from being released.
    static bool stopSystem();

    /// What the operator's menu looks at; empty pointers while the bridge is not started.
    static bool isStarted() { return m_started; }
    static const std::shared_ptr<Server>& server() { return m_server; }
    static const std::shared_ptr<MacroXptMgrTarget>& audioTargetMgr() { return m_audioTargetMgr; }
    static const std::shared_ptr<MacroXptMgrTarget>& videoTargetMgr() { return m_videoTargetMgr; }
    static const std::shared_ptr<MacroXptMgrStatus>& audioStatusMgr() { return m_audioStatusMgr; }
    static const std::shared_ptr<MacroXptMgrStatus>& videoStatusMgr() { return m_videoStatusMgr; }
    static const std::shared_ptr<LevelContainer>& videoLevels() { return m_videoLevels; }
    static const std::shared_ptr<LevelContainer>& audioLevels() { return m_audioLevels; }

private:
    static void createControllerLink();
    static void createTelnetConsole();
    static void createCrosspointManagers();
    static void createLevels();
    static void createRouterMembership();
    static void releaseManagers();
    static void withdrawComponentInfo();
    static void beWatched();
    static std::string status();

    static bool m_started;
    static std::shared_ptr<Server> m_server;
    static std::shared_ptr<MacroXptMgrTarget> m_audioTargetMgr;
    static std::shared_ptr<MacroXptMgrTarget> m_videoTargetMgr;
    static std::shared_ptr<MacroXptMgrStatus> m_audioStatusMgr;
    static std::shared_ptr<MacroXptMgrStatus> m_videoStatusMgr;
    static std::shared_ptr<LevelContainer> m_videoLevels;
    static std::shared_ptr<LevelContainer> m_audioLevels;
    static std::shared_ptr<LevelMgr> m_levelMgr;
    static log4cxx::LoggerPtr m_logger;
    static std::shared_ptr<com::tallowcrest::routing::RouterMemberMgr> m_routerMemberMgr;
    static std::shared_ptr<RouterMembers> m_routerMembers;
    static std::shared_ptr<MacroXptMgrLocalTarget> m_audioLocalTargetMgr;
    static std::shared_ptr<MacroXptMgrLocalTarget> m_videoLocalTargetMgr;
    static std::uint32_t m_koraBridgeId;
    static std::uint32_t m_frameId;
    static std::string m_koraBridgeName;
    static std::string m_description;
    static std::shared_ptr<com::tallowcrest::routing::ComponentInfoPub> m_componentInfoPub;
    static std::shared_ptr<ConnectionFactoryImpl> m_connectionFactory;
    static std::shared_ptr<CmdHandlerFactoryImpl> m_cmdHandlerFactory;
    static std::shared_ptr<com::tallowcrest::hwobjs::TimecodeSharedMem> m_timecodeSource;
    static std::shared_ptr<MetricsFile> m_metricsFile;
    static std::shared_ptr<DayReport> m_dayReport;
    static std::shared_ptr<ServiceManager> m_serviceManager;
    static const com::tallowcrest::dds_::routing::MacroLevel m_audioLevelDescriptor;
    static const com::tallowcrest::dds_::routing::MacroLevel m_videoLevelDescriptor;
};

/// The operator's menu "KORA". Runs on the main thread between the Director's start and stop; returns when the operator
/// quits or the process is asked to end (SIGTERM, SIGINT).
void runBridgeMenu();
