#include "bridge/Logging.h"
#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>
#include <log4cxx/basicconfigurator.h>
#include <log4cxx/fileappender.h>
#include <log4cxx/logger.h>
#include <log4cxx/patternlayout.h>
#include <log4cxx/rolling/rollingfileappender.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace
{

/// Keeps what it is given, or fails as it is told to.
class FakeAppender final : public log4cxx::AppenderSkeleton
{
public:
    void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool&) override
    {
        if (!m_failure.empty())
        {
            throw std::runtime_error(m_failure);
        }
        LOG4CXX_ENCODE_CHAR(text, event->getRenderedMessage());
        m_lines.push_back(event->getLevel()->toInt() == log4cxx::Level::WARN_INT ? "WARN " + text : text);
    }
    void close() override { m_isClosed = true; }
    bool requiresLayout() const override { return false; }

    std::string m_failure;
    std::vector<std::string> m_lines;
    bool m_isClosed = false;
};

class LogGuardTest : public testing::Test
{
protected:
    LogGuardTest()
    {
        log4cxx::BasicConfigurator::resetConfiguration();
        log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getInfo());
        testing::internal::CaptureStderr();
    }
    ~LogGuardTest() override { log4cxx::BasicConfigurator::resetConfiguration(); }

    static std::shared_ptr<FakeAppender> guardFake()
    {
        auto fake = std::make_shared<FakeAppender>();
        log4cxx::Logger::getRootLogger()->addAppender(fake);
        guardLogAppenders();
        return fake;
    }
    /// The same with a guard whose time is `m_now`.
    std::shared_ptr<FakeAppender> guardFakeByTestTime()
    {
        auto fake = std::make_shared<FakeAppender>();
        guardByTestTime(fake);
        return fake;
    }
    void guardByTestTime(const log4cxx::AppenderPtr& appender)
    {
        log4cxx::Logger::getRootLogger()->addAppender(std::make_shared<LogGuard>(appender, [this] { return m_now; }));
    }
    static void log(const std::string& text) { LOG4CXX_INFO(log4cxx::Logger::getLogger("KORABRIDGE"), text); }
    /// What standard error has got since the test began.
    static std::string errors() { return testing::internal::GetCapturedStderr(); }

    LogGuard::Time m_now{std::chrono::hours(1)};
};

using Lines = std::vector<std::string>;
using namespace std::chrono_literals;

constexpr const char* complaint = "korabridge: log lines are lost until this is fixed: no space\n";

/// An appender of "bridge.log" in a place where a file is in the way of the directory.
std::shared_ptr<log4cxx::FileAppender> appenderIn(const std::filesystem::path& blocked)
{
    testsupport::writeFile(blocked, "a file where a directory is wanted");
    const auto appender = std::make_shared<log4cxx::FileAppender>();
    appender->setLayout(std::make_shared<log4cxx::PatternLayout>("%p %m%n"));
    appender->setFile((blocked / "bridge.log").string());
    log4cxx::helpers::Pool pool;
    appender->activateOptions(pool);
    return appender;
}

} // namespace

TEST_F(LogGuardTest, PassesLinesOnWhileAllIsWell)
{
    const auto fake = guardFake();

    log("one");
    log("two");

    EXPECT_EQ(fake->m_lines, (Lines{"one", "two"}));
    EXPECT_EQ(errors(), "");
}

TEST_F(LogGuardTest, FailureOfTheAppenderDoesNotReachTheLoggingThread)
{
    const auto fake = guardFake();
    fake->m_failure = "no space";

    EXPECT_NO_THROW(log("lost"));

    EXPECT_EQ(fake->m_lines, Lines{});
    EXPECT_EQ(errors(), complaint);
}

TEST_F(LogGuardTest, LostLinesAreCountedInTheLogOnceItIsWrittenAgain)
{
    const auto fake = guardFake();
    fake->m_failure = "no space";
    log("lost");
    log("lost too");
    fake->m_failure.clear();

    log("kept");
    log("and on");

    EXPECT_EQ(fake->m_lines, (Lines{"kept", "WARN 2 log lines were lost, no space", "and on"}));
    errors();
}

TEST_F(LogGuardTest, StandardErrorIsToldOnceHoweverOftenTheTroubleComesBack)
{
    const auto fake = guardFake();

    for (int i = 0; i < 1000; ++i)
    {
        fake->m_failure = "no space";
        log("lost");
        fake->m_failure.clear();
        log("kept");
    }

    EXPECT_EQ(errors(), complaint);
}

TEST_F(LogGuardTest, AppenderOfTwoLoggersGetsOneGuardAndASecondCallAddsNone)
{
    const auto fake = std::make_shared<FakeAppender>();
    const auto root = log4cxx::Logger::getRootLogger();
    const auto other = log4cxx::Logger::getLogger("OTHER");
    root->addAppender(fake);
    other->addAppender(fake);

    guardLogAppenders();
    const auto guard = root->getAllAppenders().at(0);
    guardLogAppenders();

    ASSERT_EQ(root->getAllAppenders().size(), 1U);
    EXPECT_EQ(root->getAllAppenders().at(0), guard);
    EXPECT_EQ(other->getAllAppenders().at(0), guard);
    EXPECT_NE(guard, fake);
    log("one");
    EXPECT_EQ(fake->m_lines, Lines{"one"});
    errors();
}

TEST_F(LogGuardTest, ClosingTheGuardClosesTheAppender)
{
    const auto fake = std::make_shared<FakeAppender>();
    LogGuard sut(fake);

    sut.close();

    EXPECT_TRUE(fake->m_isClosed);
    errors();
}

TEST_F(LogGuardTest, FileThatCouldNotBeOpenedIsOpenedOnceItCanBe)
{
    const testsupport::TempDir directory;
    const auto blocked = directory.path() / "log";
    log4cxx::Logger::getRootLogger()->addAppender(appenderIn(blocked));
    guardLogAppenders();
    log("lost");

    std::filesystem::remove(blocked);
    EXPECT_TRUE(testsupport::waitUntil([&] {
        log("a line");
        return std::filesystem::exists(blocked / "bridge.log");
    }));

    const std::string text = testsupport::readFile(blocked / "bridge.log");
    EXPECT_EQ(text.rfind("INFO a line\nWARN ", 0), 0U) << text;
    EXPECT_NE(text.find(" log lines were lost, Not a directory\n"), std::string::npos) << text;
    EXPECT_NE(errors().find("korabridge: log lines are lost until this is fixed: "), std::string::npos);
}

TEST_F(LogGuardTest, LostFileIsTriedOnceASecondAtMost)
{
    const testsupport::TempDir directory;
    const auto blocked = directory.path() / "log";
    guardByTestTime(appenderIn(blocked));
    log("tried");
    m_now += 1s;
    log("tried again");

    std::filesystem::remove(blocked);
    m_now += 999ms;
    log("too soon");
    EXPECT_FALSE(std::filesystem::exists(blocked / "bridge.log"));
    m_now += 1ms;
    log("kept");

    EXPECT_EQ(testsupport::readFile(blocked / "bridge.log"),
              "INFO kept\nWARN 3 log lines were lost, Not a directory\n");
    errors();
}

TEST_F(LogGuardTest, StandardErrorIsToldOfNewTroubleAMinuteLater)
{
    const auto fake = guardFakeByTestTime();
    const auto lose = [&] {
        fake->m_failure = "no space";
        log("lost");
        fake->m_failure.clear();
        log("kept");
    };
    lose();
    m_now += 59'999ms;
    lose();
    EXPECT_EQ(errors(), complaint);

    testing::internal::CaptureStderr();
    m_now += 1ms;
    lose();
    EXPECT_EQ(errors(), complaint);

    testing::internal::CaptureStderr();
    m_now += 59s;
    lose();
    EXPECT_EQ(errors(), "") << "a minute counts from the last time that it was told";
}

TEST_F(LogGuardTest, StandardErrorIsToldOnceOfTroubleThatGoesOn)
{
    const auto fake = guardFakeByTestTime();
    fake->m_failure = "no space";

    for (int minute = 0; minute < 10; ++minute)
    {
        log("lost");
        m_now += 60s;
    }

    EXPECT_EQ(errors(), complaint);
}

TEST_F(LogGuardTest, LoggerFindsTheGuardUnderTheNameOfItsAppender)
{
    const auto fake = std::make_shared<FakeAppender>();
    fake->setName("file");
    const auto root = log4cxx::Logger::getRootLogger();
    root->addAppender(fake);

    guardLogAppenders();

    const auto guard = root->getAppender("file");
    ASSERT_NE(guard, nullptr);
    EXPECT_NE(guard, fake);
    root->removeAppender("file");
    EXPECT_TRUE(root->getAllAppenders().empty());
    errors();
}

TEST_F(LogGuardTest, GuardHasTheLayoutOfItsAppenderAndNeedsNoneOfItsOwn)
{
    const auto appender = std::make_shared<log4cxx::FileAppender>();
    const auto layout = std::make_shared<log4cxx::PatternLayout>("%m%n");
    appender->setLayout(layout);
    const LogGuard sut(appender);

    EXPECT_EQ(sut.getLayout(), layout);
    EXPECT_FALSE(sut.requiresLayout());
    errors();
}
