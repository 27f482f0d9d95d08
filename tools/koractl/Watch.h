#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/koractl/KoraClient.h"
#include "tools/koractl/OutputRow.h"
#include "tools/koractl/StopCondition.h"

namespace koractl
{

/// Polls the changes of some levels over one connection and hands each on as it comes. The first round reports every
/// output, because to a new connection every output is changed. Owned by one thread; what the client or the sink throws
/// passes through.
class Watch
{
public:
    /// Takes one change.
    using Sink = std::function<void(std::uint32_t level, const OutputRow& row)>;

    Watch(KoraClient& client, std::uint32_t format, std::vector<std::uint32_t> levels, Sink sink);

    /// Rounds at the given interval until the condition wants the end.
    void run(std::chrono::milliseconds interval, StopCondition& stop);

private:
    /// All that changed on one level since the last round; false when the watch shall end.
    bool pollLevel(std::uint32_t level, StopCondition& stop);

    KoraClient& m_client;
    std::uint32_t m_format;
    std::vector<std::uint32_t> m_levels;
    Sink m_sink;
};

/// One line of fixed columns for a change.
std::string watchLine(std::uint32_t level, const OutputRow& row);
/// The same as one JSON object.
std::string watchJson(std::uint32_t level, const OutputRow& row);

} // namespace koractl
