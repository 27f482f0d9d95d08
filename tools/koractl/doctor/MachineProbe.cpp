#include "runtime/util/SystemError.h"
#include "runtime/util/UniqueFd.h"
#include "tools/koractl/doctor/LogTail.h"
#include "tools/koractl/doctor/MetricsText.h"
#include "tools/koractl/doctor/Probes.h"
#include "tools/koractl/doctor/UnitProbe.h"

#include <fcntl.h>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timex.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <memory>
#include <sstream>

namespace koractl
{
namespace
{

using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

/// More than a start and a day of a busy bridge.
constexpr std::size_t mostOfAFile = 1U << 20U;
constexpr std::chrono::seconds serviceManagerTime{5};

/// The end of a regular file from a line's beginning on, and when it was written. A problem's text: it cannot be read.
struct FileEnd
{
    std::string text;
    std::time_t written = 0;
    std::string problem;
};

FileEnd readEnd(const std::string& path)
{
    FileEnd end;
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status
    {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
    {
        end.problem = path + ": " + systemErrorText();
        return end;
    }
    if (!S_ISREG(status.st_mode))
    {
        end.problem = path + " is no file";
        return end;
    }
    end.written = status.st_mtime;
    const auto size = static_cast<std::uintmax_t>(std::max<off_t>(status.st_size, 0));
    const auto wanted = static_cast<std::size_t>(std::min<std::uintmax_t>(size, mostOfAFile));
    end.text.resize(wanted);
    const ssize_t got = ::pread(file.get(), end.text.data(), wanted, static_cast<off_t>(size - wanted));
    if (got < 0)
    {
        end.problem = path + ": " + systemErrorText();
    }
    end.text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    if (size > wanted)
    {
        end.text.erase(0, std::min(end.text.find('\n'), end.text.size() - 1) + 1);
    }
    return end;
}

/// The log or, where it is kept as JSON, the file beside it: whichever was written last.
FileEnd readLogEnd(const std::string& path)
{
    FileEnd text = readEnd(path);
    FileEnd json = readEnd(std::filesystem::path(path).replace_extension(".json").string());
    const bool isJsonNewer = json.problem.empty() && (!text.problem.empty() || json.written > text.written);
    return isJsonNewer ? json : text;
}

} // namespace

bool isThisMachine(const std::string& host)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0)
    {
        return false;
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
    for (const addrinfo* each = addresses.get(); each != nullptr; each = each->ai_next)
    {
        // Only a machine's own addresses can be bound.
        const UniqueFd socket(::socket(each->ai_family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        if (socket.isOpen() && ::bind(socket.get(), each->ai_addr, each->ai_addrlen) == 0)
        {
            return true;
        }
    }
    return false;
}

MachineFacts probeMachine(const MachinePlaces& places)
{
    MachineFacts facts;
    std::error_code ignored;
    if (std::filesystem::exists(places.systemd, ignored))
    {
        facts.unit = probeUnit(places.systemctl, serviceManagerTime);
    }
    const FileEnd log = readLogEnd(places.log);
    facts.logProblem = log.problem;
    if (log.problem.empty())
    {
        std::istringstream lines(log.text);
        facts.log = readLog(lines);
    }
    const FileEnd metrics = readEnd(places.metrics);
    if (metrics.problem.empty())
    {
        std::istringstream lines(metrics.text);
        facts.metrics = readMetrics(lines);
        facts.metrics->age = std::chrono::seconds(std::max<std::time_t>(std::time(nullptr) - metrics.written, 0));
    }
    timex clock{};
    if (const int state = ::adjtimex(&clock); state >= 0)
    {
        facts.isClockSynchronised = (clock.status & STA_UNSYNC) == 0;
    }
    return facts;
}

} // namespace koractl
