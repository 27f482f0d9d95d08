#include "tests/e2e/faults/FaultFixture.h"

#include "tests/support/TempDir.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <thread>

namespace e2e
{

using testsupport::ChildProcess;

std::unique_ptr<ChildProcess> FaultFixture::bridgeAfter(const std::string& preparation)
{
    return std::make_unique<ChildProcess>("/bin/sh",
                                          std::vector<std::string>{"-c", preparation + "\nexec \"$@\"", "sh",
                                                                   testsupport::programPath("korabridge").string(),
                                                                   "17", "3", "Bridge One", "bridge under test"});
}

void FaultFixture::startAfter(const std::string& preparation)
{
    m_bridge = bridgeAfter(preparation);
}

void FaultFixture::switchLeakCheckOff()
{
    // The mismatch is in log4cxx, whose appender of rolling files deletes its parts through a base without a virtual
    // destructor.
    ::setenv("ASAN_OPTIONS", "detect_leaks=0:new_delete_type_mismatch=0", // NOLINT(concurrency-mt-unsafe): for programs
             1);                                                          // that are started later
}

void FaultFixture::setLimit(__rlimit_resource resource, rlim_t value)
{
    rlimit limit{};
    ASSERT_EQ(::prlimit(m_bridge->pid(), resource, nullptr, &limit), 0) << std::strerror(errno);
    limit.rlim_cur = std::min(value, limit.rlim_max);
    ASSERT_EQ(::prlimit(m_bridge->pid(), resource, &limit, nullptr), 0) << std::strerror(errno);
}

std::string FaultFixture::processFile(const std::string& name) const
{
    return "/proc/" + std::to_string(m_bridge->pid()) + "/" + name;
}

std::size_t FaultFixture::descriptorCount() const
{
    const std::filesystem::directory_iterator all(processFile("fd"));
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

std::size_t FaultFixture::threadCount() const
{
    const std::filesystem::directory_iterator all(processFile("task"));
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

std::size_t FaultFixture::virtualMemory() const
{
    std::istringstream numbers(testsupport::readFile(processFile("statm")));
    std::size_t pages = 0;
    numbers >> pages;
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::chrono::milliseconds FaultFixture::cpuTime() const
{
    const std::string text = testsupport::readFile(processFile("stat"));
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
    {
        fields >> skipped;
    }
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return std::chrono::milliseconds((user + system) * 1000 / ::sysconf(_SC_CLK_TCK));
}

double FaultFixture::processorShare(std::chrono::milliseconds during) const
{
    const auto begin = std::chrono::steady_clock::now();
    const auto before = cpuTime();
    std::this_thread::sleep_for(during); // the time of the measurement itself, which may take longer
    return std::chrono::duration<double>(cpuTime() - before) / (std::chrono::steady_clock::now() - begin);
}

testing::AssertionResult FaultFixture::takesReachTheRouter(koraclient::KoraClient& controller, std::uint32_t output)
{
    const std::uint32_t input = m_nextInput;
    m_nextInput = m_nextInput % 288 + 1; // as many as the level has
    const auto results = controller.take({{.level = videoLevel, .lprId = 42, .input = input, .output = output}});
    if (results.size() != 1 || results.front() != 0)
    {
        return testing::AssertionFailure() << "take refused with " << testing::PrintToString(results);
    }
    const auto target = record().waitForTarget(
        Signal::Video, output, [input](const MacroXptOutput& sample) { return sample.macroXptInput == input; });
    return target ? testing::AssertionSuccess() : testing::AssertionFailure() << "no target on the bus";
}

std::size_t FaultFixture::countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
    {
        ++count;
    }
    return count;
}

} // namespace e2e
