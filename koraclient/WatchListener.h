#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "koraclient/OutputRow.h"

namespace koraclient
{

/// Told what a `Watch` sees, on the watch's thread. What it throws ends the watch.
class WatchListener
{
public:
    WatchListener() = default;
    virtual ~WatchListener() = default;
    WatchListener(const WatchListener&) = delete;
    WatchListener& operator=(const WatchListener&) = delete;

    virtual void changed(std::uint32_t level, const OutputRow& row) = 0;
    /// Every level was polled once; what is to be shown can be shown.
    virtual void roundEnded() {}
    /// A level does not exist, or does not exist any more; the watch waits for it.
    virtual void missing(std::uint32_t level) = 0;
    /// The bridge is gone; the watch tries to connect again.
    virtual void lost(const std::string& reason) = 0;
    /// There is a connection again after so long.
    virtual void back(std::chrono::milliseconds gap) = 0;
    /// A level is up to date again; so many outputs differed and were handed on.
    virtual void resynchronised(std::uint32_t level, std::size_t differing) = 0;
};

} // namespace koraclient
