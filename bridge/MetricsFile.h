#pragma once

#include "runtime/util/FailureLog.h"
#include "runtime/util/WakeEvent.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

/// Writes what the bridge counts to a file for those who watch it, every ten seconds and at the end, on a thread of its
/// own. The file is replaced as a whole, so whoever reads it finds all of it. Trouble is logged and tried again with
/// the next writing. Belongs to the main thread.
class MetricsFile
{
public:
    static constexpr std::chrono::seconds interval{10};

    /// Throws std::system_error when there is no thread to be had.
    explicit MetricsFile(std::filesystem::path path);
    ~MetricsFile();
    MetricsFile(const MetricsFile&) = delete;
    MetricsFile& operator=(const MetricsFile&) = delete;

private:
    void run();
    void write();

    const std::filesystem::path m_path;
    com::tallowcrest::util::FailureLog m_failures;
    com::tallowcrest::util::WakeEvent m_wake;
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};

/// The file that KORABRIDGE_METRICS_FILE names; empty when none is wanted.
std::filesystem::path metricsPath();
