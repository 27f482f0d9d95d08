#include "bridge/MetricsFile.h"

#include "runtime/util/Log.h"
#include "runtime/util/Metrics.h"
#include "runtime/util/RegularFile.h"
#include "runtime/util/SystemError.h"
#include "runtime/util/ThreadName.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>

using com::tallowcrest::util::DescriptorBuffer;
using com::tallowcrest::util::formatText;
using com::tallowcrest::util::Gauge;
using com::tallowcrest::util::openEmptyRegularFile;
using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

namespace
{

Gauge buildInfo("korabridge_build_info", "The version of the bridge.", "version=\"" KORABRIDGE_VERSION "\"");
Gauge residentMemory("korabridge_resident_memory_bytes", "Resident memory size in bytes.");
Gauge startTime("korabridge_start_time_seconds", "Start time of the process since unix epoch in seconds.");

void measureMemory()
{
    std::ifstream pages("/proc/self/statm");
    std::int64_t all = 0;
    std::int64_t resident = 0;
    if (pages >> all >> resident)
    {
        residentMemory.set(resident * ::sysconf(_SC_PAGESIZE));
    }
}

[[noreturn]] void fail(const char* what, const std::string& path)
{
    throw std::runtime_error(formatText("%s %s, %s", what, path.c_str(), systemErrorText().c_str()));
}

} // namespace

MetricsFile::MetricsFile(std::filesystem::path path)
    : m_path(std::move(path)), m_failures(com::tallowcrest::util::bridgeLogger())
{
    buildInfo.set(1);
    startTime.set(
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count());
    m_thread = std::thread(&MetricsFile::run, this);
}

MetricsFile::~MetricsFile()
{
    m_isEnding = true;
    m_wake.signal();
    m_thread.join();
}

void MetricsFile::run()
{
    com::tallowcrest::util::nameThread("Metrics");
    while (true)
    {
        const auto next = com::tallowcrest::util::WakeEvent::Clock::now() + interval;
        try
        {
            write();
            m_failures.succeeded();
        }
        catch (const std::exception& error)
        {
            m_failures.warn({error.what(), formatText("metrics are not written: %s", error.what())});
        }
        if (m_isEnding)
        {
            return;
        }
        m_wake.waitUntil(next);
    }
}

void MetricsFile::write()
{
    measureMemory();
    const std::string text = com::tallowcrest::util::metricsText();
    // Not a name that node_exporter reads.
    const std::string beside = m_path.string() + ".new";
    {
        const UniqueFd file = openEmptyRegularFile(beside);
        if (!file.isOpen())
        {
            fail("cannot write", beside);
        }
        DescriptorBuffer buffer(file.get());
        std::ostream stream(&buffer);
        stream << text << std::flush;
        // Whoever collects is another user.
        constexpr mode_t readable = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
        if (!stream || ::fchmod(file.get(), readable) != 0)
        {
            fail("cannot write", beside);
        }
    }
    if (std::rename(beside.c_str(), m_path.c_str()) != 0)
    {
        fail("cannot replace", m_path.string());
    }
}

std::filesystem::path metricsPath()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment after the start
    const char* const path = std::getenv("KORABRIDGE_METRICS_FILE");
    return path != nullptr ? path : "";
}
