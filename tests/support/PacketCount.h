#pragma once

#include <fstream>
#include <sstream>
#include <string>

namespace testsupport
{

/// UDP packets sent so far in this test's network namespace; -1 when the system does not say.
inline long packetsSent()
{
    std::ifstream table("/proc/self/net/snmp");
    for (std::string line; std::getline(table, line);)
    {
        std::istringstream columns(line);
        std::string label;
        long received = 0;
        long withoutPort = 0;
        long damaged = 0;
        long sent = 0;
        if (columns >> label >> received >> withoutPort >> damaged >> sent && label == "Udp:")
        {
            return sent;
        }
    }
    return -1;
}

} // namespace testsupport
