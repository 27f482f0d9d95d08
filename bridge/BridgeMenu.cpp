#include "bridge/Director.h"
#include "ddskorabridge/MacroXptMgrStatus.h"
#include "ddskorabridge/MacroXptMgrTarget.h"
#include "ddskorabridge/OperatorShow.h"
#include "koraserver/Server.h"
#include "runtime/apartment/Apartment.h"
#include "runtime/misc/Console.h"
#include "runtime/misc/Menu.h"
#include "runtime/misc/TimingSamples.h"
#include "runtime/util/MemPool.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <optional>

namespace apartment = com::tallowcrest::apartment;
namespace misc = com::tallowcrest::misc;
namespace util = com::tallowcrest::util;

namespace
{

constexpr std::uint32_t xptsShown = 10;
constexpr std::size_t promptLineSize = 128;

void showServerConnections()
{
    misc::print("\n");
    if (Director::isStarted())
    {
        Director::server()->requestShowConnections();
    }
}

void showServerStats()
{
    misc::print("\n");
    if (Director::isStarted())
    {
        Director::server()->showServerStats();
    }
}

void showMempool()
{
    util::MemPoolRegistry::instance().show();
}

void showTaskTable()
{
    misc::print("\n");
    apartment::showTasks();
}

void startSampling()
{
    misc::timingSamples().start();
}

void stopSampling()
{
    misc::timingSamples().stop();
}

void reportBusy(bool shown)
{
    if (!shown)
    {
        misc::print("The bridge is busy, try again.\n");
    }
}

/// Asks for the first crosspoint; nothing when the operator is gone.
std::optional<std::uint32_t> askFirstXpt()
{
    misc::print("firstXpt: ");
    std::array<char, promptLineSize> line{};
    if (misc::getline(line.data(), static_cast<int>(line.size())) < 0)
    {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(std::strtol(line.data(), nullptr, 10));
}

void showXpts(const char* heading, const std::shared_ptr<const IXptTable>& table)
{
    const auto first = askFirstXpt();
    const auto bridge = apartment::bridgeApartment();
    if (!first || !table || !bridge)
    {
        return;
    }
    misc::print("%s", heading);
    reportBusy(operatorShow::showXpts(*bridge, table, *first, *first + xptsShown - 1));
}

void showAllLevels()
{
    const auto bridge = apartment::bridgeApartment();
    if (!Director::isStarted() || !bridge)
    {
        return;
    }
    reportBusy(operatorShow::showLevels(*bridge, Director::videoLevels(), "Video Levels") &&
               operatorShow::showLevels(*bridge, Director::audioLevels(), "Audio Levels"));
}

} // namespace

void runBridgeMenu()
{
    misc::Menu menu("KORA");
    menu.addItem("Show Server Connections", showServerConnections);
    menu.addItem("Show Server Stats", showServerStats);
    menu.addItem("Show Mempool", showMempool);
    menu.addItem("Show Tasks", showTaskTable);
    menu.addItem("Start Sampling", startSampling);
    menu.addItem("Stop Sampling", stopSampling);
    menu.addItem("Show Macro Audio Xpts Target",
                 [] { showXpts("\n--------- Audio Crosspoints Target ---------\n\n", Director::audioTargetMgr()); });
    menu.addItem("Show Macro Video Xpts Target",
                 [] { showXpts("\n--------- Video Crosspoints Target ---------\n\n", Director::videoTargetMgr()); });
    menu.addItem("Show Macro Audio Xpts Status",
                 [] { showXpts("\n--------- Audio Crosspoints Status ---------\n\n", Director::audioStatusMgr()); });
    menu.addItem("Show Macro Video Xpts Status",
                 [] { showXpts("\n--------- Video Crosspoints Status ---------\n\n", Director::videoStatusMgr()); });
    menu.addItem("Show All Levels", showAllLevels);
    menu.run([] {}, nullptr, nullptr);
}
