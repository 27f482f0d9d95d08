#pragma once

#include "dds/core/Reference.hpp"
#include "runtime/util/FailureLog.h"

#include <log4cxx/logger.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace com::tallowcrest::routing
{

/// Warns of samples that are not taken: once for each writer and kind of fault, then at most once a minute with the
/// number of repeats. Writers beyond the first `mostSources` are one, so that neither the log nor the memory grows with
/// what somebody makes up. Owned and used by one thread.
class FaultLog
{
public:
    static constexpr std::size_t mostSources = 32;

    explicit FaultLog(util::FailureLog::Clock clock = std::chrono::steady_clock::now);

    /// `fault` has static storage. `sample` is shown as it is, so it is visible text.
    void warn(const std::string& topicName, dds::core::InstanceHandle writer, std::string_view fault,
              const std::string& sample);

private:
    using Source = std::pair<std::uint64_t, std::string_view>; ///< a writer and a fault

    const log4cxx::LoggerPtr m_logger;
    const util::FailureLog::Clock m_clock;
    std::map<Source, util::FailureLog> m_sources;
};

} // namespace com::tallowcrest::routing
