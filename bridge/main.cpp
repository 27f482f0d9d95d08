#include "bridge/Director.h"
#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"

#include <malloc.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>

namespace
{

constexpr int numArguments = 4;

std::atomic<int> endingSignal{0};
std::atomic<pid_t> endingProcess{0};

void endMenu(int number, siginfo_t* info, void*)
{
    endingProcess = info->si_pid;
    endingSignal = number;
    com::tallowcrest::misc::requestConsoleStop();
}

/// Who stopped a bridge that is on air is the first question afterwards.
void logEndingSignal()
{
    if (const int number = endingSignal; number != 0)
    {
        LOG_INFO_F(com::tallowcrest::util::bridgeLogger(), "Stopping on signal %d from process %d", number,
                   static_cast<int>(endingProcess));
    }
}

/// Blocks from this size on go back to the system when they are freed.
constexpr int largeBlock = 256 * 1024;

/// Keeps the process as small as it was before a burst: without limits of its own the heap learns from every large
/// block to keep the next ones.
void limitMemory()
{
    // Only helps: a refusal changes nothing. No other thread runs yet.
    static_cast<void>(::mallopt(M_MMAP_THRESHOLD, largeBlock)); // NOLINT(concurrency-mt-unsafe)
    static_cast<void>(::mallopt(M_TRIM_THRESHOLD, largeBlock)); // NOLINT(concurrency-mt-unsafe)
}

/// SIGTERM and SIGINT end the menu as the operator's quit does; a peer that goes away must not end the process.
void installSignals()
{
    struct sigaction action
    {};
    action.sa_sigaction = endMenu;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    action.sa_flags = 0;
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
    limitMemory();
    installSignals();
    int status = EXIT_SUCCESS;
    try
    {
        Director::startSystem(static_cast<std::uint32_t>(std::strtol(argv[1], nullptr, 10)),
                              static_cast<std::uint32_t>(std::strtol(argv[2], nullptr, 10)), argv[3], argv[4]);
        runBridgeMenu();
        logEndingSignal();
    }
    catch (const std::exception& error)
    {
        std::cerr << "korabridge: " << error.what() << '\n';
        status = EXIT_FAILURE;
    }
    Director::stopSystem();
    return status;
}
