#include "tools/common/StopSignal.h"
#include "tools/korapanel/CommandLine.h"
#include "tools/korapanel/Panel.h"

#include <csignal>
#include <iostream>

int main(int argc, char** argv)
{
    (void)std::signal(SIGPIPE, SIG_IGN);
    return korapanel::runCommandLine(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr,
                                     [](const korapanel::Options& options) {
                                         koractl::StopSignal stop; // before there are threads
                                         korapanel::runPanel(options, stop, std::cout);
                                     });
}
