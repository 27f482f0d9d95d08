#include "tools/koractl/CommandLine.h"

#include <iostream>

int main(int argc, char** argv)
{
    const koractl::ProgramStreams streams{
        .in = std::cin, .out = std::cout, .err = std::cerr, .terminal = koractl::Terminal::ofProcess()};
    return koractl::runCommandLine(std::vector<std::string>(argv + 1, argv + argc), streams);
}
