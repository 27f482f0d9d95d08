// A router written against the other packaged DDS implementation: fast_peer ROUTER_PARTITION [DOMAIN].
// Commands come on standard input (see PeerCommands), each answered by "ok" or "error <text>"; what the bus brings is
// printed as it comes. The end of standard input or "quit" ends it.

#include "tests/interop/FastLibrary.h"
#include "tests/interop/FastReader.h"
#include "tests/interop/FastRouter.h"
#include "tests/interop/PeerCommands.h"

#include <exception>
#include <iostream>
#include <string>

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 3)
    {
        std::cerr << "usage: fast_peer ROUTER_PARTITION [DOMAIN]" << std::endl;
        return 1;
    }
    try
    {
        FastRouter router(argc == 3 ? std::stoi(argv[2]) : 0, argv[1]);
        PeerCommands commands(router);
        printEventLine("ready");
        for (std::string line; std::getline(std::cin, line) && line != "quit";)
        {
            try
            {
                commands.execute(line);
                printEventLine("ok");
            }
            catch (const std::runtime_error& error)
            {
                printEventLine(std::string("error ") + error.what());
            }
        }
    }
    catch (const std::exception& error)
    {
        std::cerr << "fast_peer: " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
