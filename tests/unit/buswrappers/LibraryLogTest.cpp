#include "buswrappers/LibraryLog.h"

#include "tests/support/LogRecorder.h"

#include <dds/ddsrt/log.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using com::tallowcrest::routing::LibraryLog;
using com::tallowcrest::routing::logWhatTheLibrarySays;

namespace
{

using Severity = dds::core::LogLine::Severity;
using Lines = std::vector<std::string>;

class LibraryLogTest : public testing::Test
{
protected:
    void write(Severity severity, const std::string& text)
    {
        m_sut.write({.severity = severity, .text = text, .file = "q_receive.c", .function = "receive", .line = 17});
    }

    const testsupport::LogRecorder m_log;
    std::chrono::steady_clock::time_point m_now;
    LibraryLog m_sut{[this] { return m_now; }};
};

} // namespace

TEST_F(LibraryLogTest, LineIsOneLineOfVisibleText)
{
    write(Severity::info, "using network interface lo\r\n");
    write(Severity::warning, "sample of \x1b[2J\nand more\n");

    EXPECT_EQ(m_log.texts(), (Lines{"INFO DDS library: using network interface lo",
                                    "WARN DDS library: sample of \\x1b[2J\\nand more"}));
}

TEST_F(LibraryLogTest, FirstLinesOfAMinuteAreWrittenAndTheNextTellsOfTheRest)
{
    for (int i = 0; i < LibraryLog::mostLines + 95; ++i)
    {
        write(Severity::warning, "malformed packet\n");
    }
    EXPECT_EQ(m_log.texts(), Lines(LibraryLog::mostLines, "WARN DDS library: malformed packet"));

    m_now += std::chrono::minutes(1);
    write(Severity::warning, "malformed packet\n");

    EXPECT_EQ(m_log.texts().back(), "WARN DDS library: 95 lines were held back; malformed packet");
}

TEST_F(LibraryLogTest, WarningsTakeNoErrorsPlaceAndTheLastWordIsAlwaysWritten)
{
    for (int i = 0; i < LibraryLog::mostLines; ++i)
    {
        write(Severity::warning, "malformed packet\n");
    }
    for (int i = 0; i < LibraryLog::mostLines; ++i)
    {
        write(Severity::error, "out of room\n");
    }
    write(Severity::fatal, "cannot go on\n");

    EXPECT_EQ(m_log.count("ERROR DDS library: out of room"), static_cast<std::size_t>(LibraryLog::mostLines));
    EXPECT_EQ(m_log.countHolding("ERROR DDS library: cannot go on"), 1U);
}

TEST_F(LibraryLogTest, LibrarySpeaksToTheBridgesLogWithoutItsOwnTime)
{
    logWhatTheLibrarySays();
    dds_log(DDS_LC_ERROR, __FILE__, __LINE__, __func__, "deleting a DDS entity: %s\n", "gone");
    dds::core::log_sink(nullptr);

    EXPECT_EQ(m_log.texts(), Lines{"ERROR DDS library: deleting a DDS entity: gone"});
    EXPECT_NE(m_log.lines().at(0).file.find("LibraryLogTest.cpp"), std::string::npos);
}
