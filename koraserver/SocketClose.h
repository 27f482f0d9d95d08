#pragma once

/// Readies a socket that was shut down for a close() that returns at once, whatever its SO_LINGER says, so that the
/// thread that closes is held up by no peer. A peer that has taken what was sent gets a clean end of stream from the
/// system; one that left data waiting on our side is reset, and the data is dropped.
void prepareToClose(int socket);
