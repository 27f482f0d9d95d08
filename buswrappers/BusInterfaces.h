#pragma once

#include <string>

namespace com::tallowcrest::routing
{

/// The interfaces on which this process sends what is for the bus, with their addresses: "lo (127.0.0.1)". The DDS
/// library does not tell them, but it binds a socket for sending to the address of each one that it has chosen.
/// "unknown" when there is no such socket. Any thread.
std::string busInterfaces();

} // namespace com::tallowcrest::routing
