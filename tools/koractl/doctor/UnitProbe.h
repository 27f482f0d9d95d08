#pragma once

#include "tools/koractl/doctor/Facts.h"

#include <chrono>
#include <optional>
#include <string>

namespace koractl
{

/// What `systemctl show` prints, one PROPERTY=VALUE a line. Pure.
UnitFacts readUnit(const std::string& text);

/// Asks the service manager of the bridge's service; absent when it cannot be asked or takes too long.
std::optional<UnitFacts> probeUnit(const std::string& systemctl, std::chrono::milliseconds timeout);

} // namespace koractl
