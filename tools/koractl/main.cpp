#include <iostream>

#include "tools/koractl/CommandLine.h"

int main(int argc, char** argv)
{
    return koractl::runCommandLine(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}
