#include "tests/chaos/Processes.h"

#include "runtime/util/VisibleText.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>
#include <utility>

namespace chaos
{

BridgeProcess::BridgeProcess(const std::vector<std::string>& arguments, std::string countedText,
                             std::map<std::string, std::string> environment)
    : m_countedText(std::move(countedText))
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
    {
        throw std::runtime_error("pipe failed");
    }
    m_output = ends[0];
    testsupport::ChildProcess::Options options;
    options.environment = std::move(environment);
    options.closeInput = true;
    options.output = ends[1];
    m_process = std::make_unique<testsupport::ChildProcess>(testsupport::programPath("korabridge"), arguments, options);
    close(ends[1]);
    m_reader = std::thread([this] { readOutput(); });
}

BridgeProcess::~BridgeProcess()
{
    if (m_process->isRunning())
    {
        m_process->signal(SIGKILL);
        m_process->waitForExit();
    }
    m_reader.join(); // ends with the pipe's other end
    close(m_output);
}

std::optional<int> BridgeProcess::stop(std::chrono::milliseconds deadline)
{
    m_process->signal(SIGTERM);
    return m_process->waitForExit(deadline);
}

void BridgeProcess::readOutput()
{
    std::string rest;
    std::array<char, 65536> bytes{};
    for (;;)
    {
        const auto count = read(m_output, bytes.data(), bytes.size());
        if (count <= 0)
        {
            break;
        }
        rest.append(bytes.data(), static_cast<std::size_t>(count));
        std::size_t begin = 0;
        for (auto end = rest.find('\n'); end != std::string::npos; end = rest.find('\n', begin))
        {
            addLine(rest.substr(begin, end - begin));
            begin = end + 1;
        }
        rest.erase(0, begin);
    }
    if (!rest.empty())
    {
        addLine(rest);
    }
}

void BridgeProcess::addLine(const std::string& line)
{
    const std::lock_guard lock(m_mutex);
    ++m_lineCount;
    if (!m_countedText.empty() && line.find(m_countedText) != std::string::npos)
    {
        ++m_countedLines;
    }
    m_lastLines.push_back(line);
    if (m_lastLines.size() > keptLines)
    {
        m_lastLines.pop_front();
    }
    std::string drawn = line;
    std::replace(drawn.begin(), drawn.end(), '\t', ' ');
    if (!com::tallowcrest::util::isVisibleText(drawn) && m_errorLines.size() < keptLines)
    {
        m_errorLines.push_back("what a terminal obeys: " + com::tallowcrest::util::visibleText(line));
    }
    for (const char* sign : {" ERROR ", "MemPool::", "Sanitizer", "runtime error:"})
    {
        if (line.find(sign) != std::string::npos && m_errorLines.size() < keptLines)
        {
            m_errorLines.push_back(line);
            break;
        }
    }
}

std::size_t BridgeProcess::lineCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_lineCount;
}

std::size_t BridgeProcess::countedLines() const
{
    const std::lock_guard lock(m_mutex);
    return m_countedLines;
}

std::vector<std::string> BridgeProcess::lastLines() const
{
    const std::lock_guard lock(m_mutex);
    return {m_lastLines.begin(), m_lastLines.end()};
}

std::vector<std::string> BridgeProcess::errorLines() const
{
    const std::lock_guard lock(m_mutex);
    return m_errorLines;
}

RouterProcess::RouterProcess() : m_nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC))
{
    if (m_nowhere < 0)
    {
        throw std::runtime_error("cannot open /dev/null");
    }
}

RouterProcess::~RouterProcess()
{
    m_process.reset();
    close(m_nowhere);
}

void RouterProcess::start(const std::string& partition)
{
    testsupport::ChildProcess::Options options;
    options.output = m_nowhere;
    options.outlivesThread = true; // the bursts at the end come after the disturbances
    m_process = std::make_unique<testsupport::ChildProcess>(
        testsupport::programPath("korasim"), std::vector<std::string>{"--frame", "17", "--partition", partition},
        options);
}

void RouterProcess::stop() const
{
    m_process->signal(SIGSTOP);
}

void RouterProcess::proceed() const
{
    m_process->signal(SIGCONT);
}

void RouterProcess::kill() const
{
    m_process->signal(SIGKILL);
    m_process->waitForExit();
}

} // namespace chaos
