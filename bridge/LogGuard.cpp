#include "bridge/Logging.h"
#include "runtime/util/Log.h"
#include "runtime/util/SystemError.h"
#include "runtime/util/UniqueFd.h"

#include <fcntl.h>
#include <log4cxx/fileappender.h>
#include <log4cxx/helpers/transcoder.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>
#include <log4cxx/spi/loggingevent.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <utility>

using com::tallowcrest::util::bridgeLoggerName;
using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

namespace
{

constexpr mode_t logFileMode = 0666;

/// Why a file cannot be written, or an empty text. The appender itself would complain with every try.
std::string obstacleOf(const std::filesystem::path& path)
{
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error); // what is wrong with it shows at once
    const UniqueFd file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, logFileMode));
    return file.isOpen() ? "" : systemErrorText(errno);
}

} // namespace

LogGuard::LogGuard(log4cxx::AppenderPtr guarded, Clock clock)
    : m_guarded(std::move(guarded)), m_writing(std::dynamic_pointer_cast<log4cxx::WriterAppender>(m_guarded)),
      m_clock(std::move(clock))
{}

LogGuard::~LogGuard() = default;

void LogGuard::append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool& pool)
{
    try
    {
        if (hasLostItsFile() && !reopen(pool))
        {
            countLost(m_reason);
            return;
        }
        m_guarded->doAppend(event, pool);
        if (hasLostItsFile())
        {
            countLost("its file cannot be opened");
            return;
        }
        if (m_lost > 0)
        {
            logLoss(pool);
        }
    }
    catch (const std::exception& error)
    {
        countLost(error.what());
    }
}

void LogGuard::close()
{
    m_guarded->close();
}

bool LogGuard::hasLostItsFile() const
{
    return m_writing != nullptr && m_writing->getWriter() == nullptr;
}

bool LogGuard::reopen(log4cxx::helpers::Pool& pool)
{
    const auto file = std::dynamic_pointer_cast<log4cxx::FileAppender>(m_guarded);
    const Time now = m_clock();
    if (file == nullptr || (m_triedAt && now - *m_triedAt < retryTime))
    {
        return false;
    }
    m_triedAt = now;
    LOG4CXX_ENCODE_CHAR(path, file->getFile());
    if (const std::string obstacle = obstacleOf(path); !obstacle.empty())
    {
        m_reason = obstacle;
        return false;
    }
    file->activateOptions(pool);
    return !hasLostItsFile();
}

void LogGuard::countLost(const std::string& reason) noexcept
{
    try
    {
        m_reason = reason;
    }
    catch (const std::exception&)
    {
        m_reason.clear(); // the reason may be the lack of memory
    }
    if (!m_complainedAt || (m_lost == 0 && m_clock() - *m_complainedAt >= complaintTime))
    {
        m_complainedAt = m_clock();
        static_cast<void>(
            std::fprintf(stderr, "korabridge: log lines are lost until this is fixed: %s\n", m_reason.c_str()));
    }
    ++m_lost;
}

void LogGuard::logLoss(log4cxx::helpers::Pool& pool)
{
    log4cxx::LogString text;
    log4cxx::helpers::Transcoder::decode(std::to_string(m_lost) + " log lines were lost, " + m_reason, text);
    m_guarded->doAppend(std::make_shared<log4cxx::spi::LoggingEvent>(bridgeLoggerName, log4cxx::Level::getWarn(), text,
                                                                     LOG4CXX_LOCATION),
                        pool);
    m_lost = 0;
}

void guardLogAppenders()
{
    std::map<log4cxx::AppenderPtr, log4cxx::AppenderPtr> guards; // loggers may share an appender
    auto loggers = log4cxx::LogManager::getCurrentLoggers();
    loggers.push_back(log4cxx::Logger::getRootLogger());
    for (const auto& logger : loggers)
    {
        for (const auto& appender : logger->getAllAppenders())
        {
            if (std::dynamic_pointer_cast<LogGuard>(appender) != nullptr)
            {
                continue;
            }
            auto& guard = guards[appender];
            if (guard == nullptr)
            {
                guard = std::make_shared<LogGuard>(appender);
            }
            logger->removeAppender(appender);
            logger->addAppender(guard);
        }
    }
}
