#include "tests/e2e/console/OperatorFixture.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace e2e
{

using testsupport::ChildProcess;

bool OperatorFixture::startJoinedWithOwnLogDirectory()
{
    ChildProcess probe("/usr/bin/unshare", {"--mount", "true"});
    if (probe.waitForExit() != 0)
    {
        return false;
    }
    // Each step replaces the process: signals reach the program itself.
    m_bridge = std::make_unique<ChildProcess>(
        "/usr/bin/unshare",
        std::vector<std::string>{"--mount", "sh", "-c", R"(mount --bind "$0" /var/log && exec "$@")",
                                 logDirectory().string(), testsupport::programPath("korabridge").string(), "17", "3",
                                 "Bridge One", "bridge under test"});
    router().announce();
    waitForJoin();
    return true;
}

std::vector<int> OperatorFixture::controllerSockets()
{
    const std::string marker = "accepted tcp connection from 127.0.0.1, fd = ";
    std::vector<int> result;
    const std::string text = bridge().output();
    for (auto at = text.find(marker); at != std::string::npos; at = text.find(marker, at + 1))
    {
        result.push_back(std::atoi(text.c_str() + at + marker.size()));
    }
    return result;
}

std::vector<std::string> OperatorFixture::lines(const std::string& text)
{
    std::vector<std::string> result;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line))
    {
        result.push_back(line);
    }
    return result;
}

std::string OperatorFixture::row(int output, int input, const std::string& when, int lprId, const std::string& state)
{
    std::array<char, 128> line{};
    static_cast<void>(std::snprintf(line.data(), line.size(), "%16s %6d %6d %14s %5d %9s\n", "R1", output, input,
                                    when.c_str(), lprId, state.c_str()));
    return line.data();
}

std::string OperatorFixture::tableHeader()
{
    return "routerPartition  Output  Input      When      LprId  LprState\n"
           "---------------- ------ ------ -------------- ----- ---------\n";
}

} // namespace e2e
