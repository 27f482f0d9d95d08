#pragma once

#include "koracommand/ConnectionContext.h"
#include "koracommand/Rsp.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/util/Pooled.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

/// Hands responses from the bridge apartment to the connection thread that waits for them, first in first out. An empty
/// pointer may be pushed: it says that the command will never be answered. Thread-safe. Shared by a command handler and
/// the commands it made.
class RspQueue
{
public:
    RspQueue();

    /// Appends and wakes one waiter. Allocates nothing in use: there is one command outstanding per connection.
    void push(std::unique_ptr<Rsp> rsp);

    /// Waits until there is an entry and takes it.
    std::unique_ptr<Rsp> pop();

    /// The same, but gives up after `timeout`: no value when nothing came.
    std::optional<std::unique_ptr<Rsp>> popWithin(std::chrono::milliseconds timeout);

private:
    std::unique_ptr<Rsp> takeFront();

    std::mutex m_mutex;
    std::condition_variable m_pushed;
    std::vector<std::unique_ptr<Rsp>> m_rsps;
};

/// Pushes the response into the queue at once. A failure is logged.
void deliver(std::unique_ptr<Rsp> rsp, RspQueue& rspQueue, ConnectionContext& context) noexcept;
