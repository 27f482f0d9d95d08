#pragma once

#include <chrono>

namespace com::tallowcrest::misc
{

/// Small wrappers round `setsockopt`; false with `errno` set when the system refuses.

/// SOL_SOCKET / SO_REUSEADDR.
bool allowAddressReuse(int socket);
/// IPPROTO_TCP / TCP_NODELAY.
bool sendWithoutDelay(int socket);
/// SOL_SOCKET / SO_LINGER on. With zero, closing resets the connection.
bool lingerOnClose(int socket, std::chrono::seconds time);
/// SOL_SOCKET / SO_OOBINLINE: a telnet client's urgent bytes stay in their place in the stream.
bool keepUrgentBytesInline(int socket);
/// Lets the system find out within about two minutes that a peer has gone without a word.
bool probeIdlePeer(int socket);

} // namespace com::tallowcrest::misc
