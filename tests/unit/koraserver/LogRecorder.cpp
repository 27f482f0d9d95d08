#include "tests/unit/koraserver/LogRecorder.h"

#include "tests/support/WaitUntil.h"

#include <log4cxx/spi/loggingevent.h>

#include <algorithm>

namespace log4cxx::recording
{

IMPLEMENT_LOG4CXX_OBJECT(RecordingAppender)

void RecordingAppender::append(const spi::LoggingEventPtr& event, helpers::Pool& /*pool*/)
{
    std::string line;
    event->getLevel()->toString(line);
    line += ' ';
    line += event->getMessage();
    const std::lock_guard lock(m_mutex);
    m_lines.push_back(line);
}

std::vector<std::string> RecordingAppender::lines() const
{
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

} // namespace log4cxx::recording

LogRecorder::LogRecorder()
    : m_logger(log4cxx::Logger::getLogger("KORABRIDGE")),
      m_appender(std::make_shared<log4cxx::recording::RecordingAppender>())
{
    m_logger->setAdditivity(false);
    m_logger->setLevel(log4cxx::Level::getDebug());
    m_logger->addAppender(m_appender);
}

LogRecorder::~LogRecorder()
{
    m_logger->removeAppender(m_appender);
}

std::size_t LogRecorder::count(const std::string& line) const
{
    const auto all = lines();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), line));
}

std::size_t LogRecorder::countHolding(const std::string& part) const
{
    const auto all = lines();
    return static_cast<std::size_t>(std::count_if(
        all.begin(), all.end(), [&part](const std::string& line) { return line.find(part) != std::string::npos; }));
}

bool LogRecorder::waitFor(const std::string& line) const
{
    return testsupport::waitUntil([this, &line] { return count(line) > 0; });
}

bool LogRecorder::waitForHolding(const std::string& part) const
{
    return testsupport::waitUntil([this, &part] { return countHolding(part) > 0; });
}
