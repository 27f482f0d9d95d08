#include "runtime/util/VisibleText.h"
#include "tools/korasim/CommandLine.h"
#include "tools/korasim/EventPrinter.h"
#include "tools/korasim/EventScript.h"
#include "tools/korasim/ScriptInput.h"
#include "tools/korasim/SimulatedRouter.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    int status = 0;
    try
    {
        const auto commandLine = korasim::parseCommandLine(argc, argv, status);
        if (!commandLine)
        {
            return status;
        }
        korasim::ScriptInput input;
        korasim::SimulatedRouter router(commandLine->router, {std::make_shared<korasim::EventPrinter>(std::cout)});
        if (!commandLine->isSilentStart)
        {
            router.announce();
            std::cout << "announced frame " + std::to_string(commandLine->router.frameId) + " in partition '" +
                             com::tallowcrest::util::visibleText(commandLine->router.partition) + "'\n"
                      << std::flush;
        }
        korasim::EventScript script(router, std::cout, std::cerr,
                                    [&input](std::chrono::milliseconds time) { return input.pause(time); });
        bool isQuitting = false;
        while (!isQuitting)
        {
            const auto line = input.nextLine();
            if (!line)
            {
                break;
            }
            isQuitting = script.runLine(*line) == korasim::EventScript::Outcome::Quit;
        }
        if (commandLine->isExitingAtEof)
        {
            return script.errorCount() == 0 ? 0 : 1;
        }
        if (!isQuitting)
        {
            input.waitForSignal();
        }
    }
    catch (const std::exception& error)
    {
        std::cerr << "korasim: " << com::tallowcrest::util::visibleText(error.what()) << std::endl;
        status = 1;
    }
    return status;
}
