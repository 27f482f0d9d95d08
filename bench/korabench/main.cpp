#include "bench/korabench/CommandLine.h"
#include "bench/korabench/LoadRun.h"
#include "bench/korabench/Report.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    int status = 0;
    try
    {
        const auto commandLine = korabench::parseCommandLine(argc, argv, status);
        if (!commandLine)
        {
            return status;
        }
        const korabench::Report report =
            korabench::runLoad(commandLine->load, korabench::controllerFactory(*commandLine));
        std::cout << (commandLine->load.isJson ? korabench::jsonOf(report) : korabench::textOf(report));
    }
    catch (const std::exception& error)
    {
        std::cerr << "korabench: " << error.what() << std::endl;
        status = 1;
    }
    return status;
}
