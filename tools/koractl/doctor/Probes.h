#pragma once

#include "tools/koractl/doctor/Facts.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace koractl
{

/// These look at a running bridge and disturb nobody: nothing is set, nothing typed that changes anything. None throws
/// for what it finds.

/// As a controller: one connection, for some milliseconds one of the 16 slots, eight queries.
LinkFacts probeLink(const std::string& host, std::uint16_t port, std::chrono::milliseconds timeout);

/// As an operator, of whom there is one at a time: reads the table of connections and ten rows of the target table.
ConsoleFacts probeConsole(const std::string& host, std::chrono::milliseconds timeout);

/// Where the bridge's own machine keeps what it tells.
struct MachinePlaces
{
    std::string log = "/var/log/korabridge/korabridge.log";
    std::string metrics = "/run/korabridge/metrics.prom";
    std::string systemd = "/run/systemd/system"; ///< there where systemd runs
    std::string systemctl = "systemctl";
};

/// Whether the host is the machine that this runs on.
bool isThisMachine(const std::string& host);

/// The service manager, the end of the log, the metrics file and the kernel's clock.
MachineFacts probeMachine(const MachinePlaces& places);

} // namespace koractl
