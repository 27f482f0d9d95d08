#pragma once

#include "tools/korapanel/access/Access.h"
#include "tools/korapanel/http/Server.h"
#include "tools/korapanel/link/BridgeLink.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace korapanel
{

/// What the user wants of a panel, checked. Plain value.
struct Options
{
    BridgeLink::Settings bridge;
    ServerSettings server;
    Access::Settings access;
    std::vector<std::string> nameFiles;
    std::set<std::string> hostNames;
    std::string salvoFolder;
    std::string pageFolder;
    std::uint32_t lprId = 0;
};

/// HOST, HOST:PORT or [ADDRESS]:PORT, cut into its parts. Throws std::invalid_argument with a sentence.
struct Place
{
    std::string host;
    std::uint16_t port = 0;

    bool operator==(const Place&) const = default;
};
Place parsePlace(const std::string& text, std::uint16_t usualPort);

} // namespace korapanel
