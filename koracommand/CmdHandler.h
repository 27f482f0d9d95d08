#pragma once

#include "koracommand/Rsp.h"

#include <cstdint>
#include <memory>
#include <span>

/// Turns one router-control request into one response for its connection. Owned by one connection; `handle` is called
/// on that connection's thread only, `show` from any thread.
class CmdHandler
{
public:
    CmdHandler() = default;
    virtual ~CmdHandler() = default;
    CmdHandler(const CmdHandler&) = delete;
    CmdHandler& operator=(const CmdHandler&) = delete;

    /// Runs the command in `message` (one whole message of 16 to 8192 bytes, network order) on the bridge apartment and
    /// waits for its response, which comes back in network order. Null only when no response can be made at all (the
    /// bridge is stopping); the caller then drops the connection.
    virtual std::unique_ptr<Rsp> handle(std::span<const std::uint8_t> message) = 0;

    /// Prints the unhandled and the processed commands with their counts to the console.
    virtual void show() = 0;
};

/// Makes the handler of a connection. Thread-safe.
class CmdHandlerFactory
{
public:
    CmdHandlerFactory() = default;
    virtual ~CmdHandlerFactory() = default;
    CmdHandlerFactory(const CmdHandlerFactory&) = delete;
    CmdHandlerFactory& operator=(const CmdHandlerFactory&) = delete;

    /// `connectionId` is the connection's slot, 0 to 15.
    virtual std::unique_ptr<CmdHandler> createCmdHandler(std::uint32_t connectionId) = 0;
};
