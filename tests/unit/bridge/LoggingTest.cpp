#include "bridge/Logging.h"

#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>
#include <log4cxx/basicconfigurator.h>
#include <log4cxx/logger.h>
#include <log4cxx/logmanager.h>

#include <chrono>
#include <filesystem>
#include <regex>

using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

namespace
{

class LoggingTest : public testing::Test
{
protected:
    LoggingTest() { log4cxx::BasicConfigurator::resetConfiguration(); }

    static std::size_t appenderCount() { return log4cxx::Logger::getRootLogger()->getAllAppenders().size(); }

    /// Configures from `path` and returns what standard error shows meanwhile.
    static std::string errorsOfConfiguring(const std::string& path)
    {
        testing::internal::CaptureStderr();
        configureLogging(path, 0);
        return testing::internal::GetCapturedStderr();
    }

    static std::string xmlConfiguration(const std::filesystem::path& logFile)
    {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<log4j:configuration xmlns:log4j=\"http://jakarta.apache.org/log4j/\">\n"
               "<appender name=\"file\" class=\"org.apache.log4j.FileAppender\">\n"
               "<param name=\"file\" value=\"" +
               logFile.string() +
               "\"/>\n"
               "<layout class=\"org.apache.log4j.PatternLayout\">"
               "<param name=\"ConversionPattern\" value=\"%p %m%n\"/></layout>\n"
               "</appender>\n"
               "<root><priority value=\"info\"/><appender-ref ref=\"file\"/></root>\n"
               "</log4j:configuration>\n";
    }

    TempDir m_directory;
};

} // namespace

TEST_F(LoggingTest, MissingFileIsReportedOnceAndReplacedByConsoleAppenderAtDebug)
{
    const std::string path = (m_directory.path() / "none.xml").string();

    const std::string errors = errorsOfConfiguring(path);

    EXPECT_EQ(errors, "Problem opening log4cxx config file " + path +
                          " (falling back to BasicConfigurator) : No such file or directory\n");
    EXPECT_EQ(appenderCount(), 1U);
    EXPECT_EQ(log4cxx::Logger::getRootLogger()->getLevel()->toInt(), log4cxx::Level::DEBUG_INT);
}

TEST_F(LoggingTest, FallbackLinesCarryTimeElapsedLevelSourceAndMessage)
{
    errorsOfConfiguring((m_directory.path() / "none.xml").string());

    testing::internal::CaptureStdout();
    LOG4CXX_DEBUG(log4cxx::Logger::getLogger("KORABRIDGE"), "a line");
    const std::string line = testing::internal::GetCapturedStdout();

    const std::regex pattern(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,\d{3} \d+ DEBUG \(.*LoggingTest\.cpp:\d+\) - a line\n)");
    EXPECT_TRUE(std::regex_match(line, pattern)) << line;
}

TEST_F(LoggingTest, EmptyPathFallsBackWithoutAMessage)
{
    EXPECT_EQ(errorsOfConfiguring(""), "");
    EXPECT_EQ(appenderCount(), 1U);
}

TEST_F(LoggingTest, FallbackLeavesExistingAppendersAlone)
{
    log4cxx::BasicConfigurator::configure();
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getError());

    errorsOfConfiguring("");

    EXPECT_EQ(appenderCount(), 1U);
    EXPECT_EQ(log4cxx::Logger::getRootLogger()->getLevel()->toInt(), log4cxx::Level::ERROR_INT);
}

TEST_F(LoggingTest, UnreadableFileLeavesLoggingUnconfigured)
{
    const auto path = m_directory.path() / "log.xml";
    const auto logFile = m_directory.path() / "out.log";
    writeFile(path, xmlConfiguration(logFile));
    std::filesystem::permissions(path, std::filesystem::perms::owner_write);

    EXPECT_EQ(errorsOfConfiguring(path.string()), "");

    EXPECT_EQ(appenderCount(), 0U);
    EXPECT_FALSE(std::filesystem::exists(logFile));
}

TEST_F(LoggingTest, XmlFileConfiguresAppenderAndLevel)
{
    const auto path = m_directory.path() / "log.xml";
    const auto logFile = m_directory.path() / "out.log";
    writeFile(path, xmlConfiguration(logFile));

    EXPECT_EQ(errorsOfConfiguring(path.string()), "");
    LOG4CXX_INFO(log4cxx::Logger::getLogger("KORABRIDGE"), "kept");
    LOG4CXX_DEBUG(log4cxx::Logger::getLogger("KORABRIDGE"), "below the level");

    EXPECT_EQ(readFile(logFile), "INFO kept\n");
}

TEST_F(LoggingTest, OtherEndingGoesToThePropertiesConfigurator)
{
    const auto path = m_directory.path() / "log.properties";
    const auto logFile = m_directory.path() / "out.log";
    writeFile(path, "log4j.rootLogger=WARN, file\n"
                    "log4j.appender.file=org.apache.log4j.FileAppender\n"
                    "log4j.appender.file.File=" +
                        logFile.string() +
                        "\n"
                        "log4j.appender.file.layout=org.apache.log4j.PatternLayout\n"
                        "log4j.appender.file.layout.ConversionPattern=%m%n\n");

    EXPECT_EQ(errorsOfConfiguring(path.string()), "");
    LOG4CXX_WARN(log4cxx::Logger::getLogger("KORABRIDGE"), "from properties");

    EXPECT_EQ(readFile(logFile), "from properties\n");
}

TEST_F(LoggingTest, FileThatIsWatchedIsReadAgainWhenItChanges)
{
    const auto path = m_directory.path() / "watched.properties";
    constexpr long watchDelay = 20; // milliseconds
    writeFile(path, "log4j.rootLogger=WARN\n");
    configureLogging(path.string(), watchDelay);
    const auto level = [] { return log4cxx::Logger::getRootLogger()->getLevel()->toInt(); };
    ASSERT_EQ(level(), log4cxx::Level::WARN_INT);

    writeFile(path, "log4j.rootLogger=ERROR\n");
    std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() + std::chrono::seconds(5));

    EXPECT_TRUE(testsupport::waitUntil([&] { return level() == log4cxx::Level::ERROR_INT; }));
    log4cxx::LogManager::shutdown(); // ends the watch, which would outlive log4cxx itself
}
