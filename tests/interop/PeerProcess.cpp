#include "tests/interop/PeerProcess.h"

#include "tests/support/Places.h"
#include "tests/support/WaitUntil.h"

#include <sstream>
#include <stdexcept>

namespace
{

/// The last line that satisfies the predicate; a line without its end is not counted.
template <typename Predicate>
std::string lastLine(const std::string& text, Predicate&& predicate)
{
    std::istringstream lines(text);
    std::string found;
    for (std::string line; std::getline(lines, line) && !lines.eof();)
    {
        if (predicate(line))
        {
            found = line;
        }
    }
    return found;
}

std::size_t countReplies(const std::string& text)
{
    std::istringstream lines(text);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line) && !lines.eof();)
    {
        count += line == "ok" || line.starts_with("error ") ? 1U : 0U;
    }
    return count;
}

} // namespace

PeerProcess::PeerProcess(const std::string& routerPartition)
    : m_process(testsupport::buildFolder() / "tests" / "fast_peer", {routerPartition})
{
    if (!m_process.waitForOutput("ready\n", std::chrono::seconds(30)))
    {
        throw std::runtime_error("fast_peer does not start: " + output());
    }
}

void PeerProcess::command(const std::string& line)
{
    m_process.write(line + "\n");
    ++m_commandCount;
    testsupport::waitUntil([this] { return countReplies(m_process.output()) >= m_commandCount; });
    const std::string text = m_process.output();
    const std::string error = lastLine(text, [](const std::string& reply) { return reply.starts_with("error "); });
    if (!error.empty() || countReplies(text) != m_commandCount)
    {
        throw std::runtime_error("fast_peer did not carry out '" + line + "': " + error);
    }
}

bool PeerProcess::waitForLine(const std::string& line, std::chrono::milliseconds deadline) const
{
    return testsupport::waitUntil(
        [&] {
            return !lastLine(m_process.output(), [&](const std::string& printed) { return printed == line; }).empty();
        },
        deadline);
}

std::string PeerProcess::waitForLineWith(const std::string& begin, std::chrono::milliseconds deadline) const
{
    std::string found;
    testsupport::waitUntil(
        [&] {
            found = lastLine(m_process.output(), [&](const std::string& line) { return line.starts_with(begin); });
            return !found.empty();
        },
        deadline);
    return found;
}
