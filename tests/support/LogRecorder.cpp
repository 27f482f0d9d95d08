#include "tests/support/LogRecorder.h"

#include "tests/support/WaitUntil.h"

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/basicconfigurator.h>
#include <log4cxx/level.h>
#include <log4cxx/spi/location/locationinfo.h>
#include <log4cxx/spi/loggingevent.h>

#include <algorithm>
#include <mutex>

namespace testsupport
{

class LogRecorder::Appender final : public log4cxx::AppenderSkeleton
{
public:
    void close() override {}
    bool requiresLayout() const override { return false; }

    std::vector<Line> lines() const
    {
        const std::lock_guard lock(m_linesMutex);
        return m_lines;
    }

protected:
    void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& /*pool*/) override
    {
        const auto& location = event->getLocationInformation();
        const std::string path = location.getFileName();
        const std::lock_guard lock(m_linesMutex);
        m_lines.push_back({.logger = event->getLoggerName(),
                           .level = event->getLevel()->toString(),
                           .text = event->getMessage(),
                           .file = path.substr(path.rfind('/') + 1),
                           .line = location.getLineNumber()});
    }

private:
    mutable std::mutex m_linesMutex;
    std::vector<Line> m_lines;
};

LogRecorder::LogRecorder() : m_appender(std::make_shared<Appender>())
{
    log4cxx::BasicConfigurator::resetConfiguration();
    log4cxx::BasicConfigurator::configure(m_appender);
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getAll());
}

LogRecorder::~LogRecorder()
{
    log4cxx::BasicConfigurator::resetConfiguration();
}

log4cxx::LoggerPtr LogRecorder::logger()
{
    return log4cxx::Logger::getLogger("KORABRIDGE");
}

std::vector<LogRecorder::Line> LogRecorder::lines() const
{
    return m_appender->lines();
}

std::vector<std::string> LogRecorder::texts() const
{
    std::vector<std::string> texts;
    for (const Line& line : lines())
    {
        texts.push_back(line.level + ' ' + line.text);
    }
    return texts;
}

std::vector<std::string> LogRecorder::takeTexts()
{
    auto all = texts();
    all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(m_taken));
    m_taken += all.size();
    return all;
}

std::size_t LogRecorder::count(const std::string& text) const
{
    const auto all = texts();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), text));
}

std::size_t LogRecorder::countHolding(const std::string& part) const
{
    const auto all = texts();
    return static_cast<std::size_t>(std::count_if(
        all.begin(), all.end(), [&part](const std::string& text) { return text.find(part) != std::string::npos; }));
}

bool LogRecorder::waitFor(const std::string& text) const
{
    return waitUntil([this, &text] { return count(text) > 0; });
}

bool LogRecorder::waitForHolding(const std::string& part) const
{
    return waitUntil([this, &part] { return countHolding(part) > 0; });
}

} // namespace testsupport
