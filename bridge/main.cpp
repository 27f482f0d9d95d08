#include "bridge/BridgeMenu.h"
#include "bridge/Director.h"
#include "runtime/misc/Console.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>

namespace
{

constexpr int numArguments = 4;

void endMenu(int)
{
    com::tallowcrest::misc::requestConsoleStop();
}

/// SIGTERM and SIGINT end the menu as the operator's quit does; a peer that goes away must not end the process.
void installSignals()
{
    struct sigaction action
    {};
    action.sa_handler = endMenu;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != numArguments + 1)
    {
        std::cout << "\nusage: " << argv[0] << " <frameId> <koraBridgeId> <koraBridgeName> <description>\n\n";
        return EXIT_FAILURE;
    }
    installSignals();
    int status = EXIT_SUCCESS;
    try
    {
        Director::startSystem(static_cast<std::uint32_t>(std::strtol(argv[1], nullptr, 10)),
                              static_cast<std::uint32_t>(std::strtol(argv[2], nullptr, 10)), argv[3], argv[4]);
        runBridgeMenu();
    }
    catch (const std::exception& error)
    {
        std::cerr << "korabridge: " << error.what() << '\n';
        status = EXIT_FAILURE;
    }
    Director::stopSystem();
    return status;
}
