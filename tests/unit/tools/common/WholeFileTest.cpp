#include "tests/support/FailingCall.h"
#include "tests/support/TempDir.h"
#include "tools/common/BackupFile.h"
#include "tools/common/FileLines.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

using namespace koractl;

namespace
{

class WholeFileTest : public testing::Test
{
protected:
    /// What writing fails with; empty when it does not.
    static std::string problemOf(const std::string& fileName, const std::string& content)
    {
        try
        {
            writeWholeFile(fileName, content);
        }
        catch (const FileError& problem)
        {
            return problem.what();
        }
        return "";
    }
    std::size_t files() const
    {
        const auto all = std::filesystem::directory_iterator(m_directory.path());
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }

    testsupport::TempDir m_directory;
    std::string m_file = (m_directory.path() / "plant").string();
};

} // namespace

TEST_F(WholeFileTest, NewFileHasTheContentAndTheUsualPermissions)
{
    const mode_t before = ::umask(027);

    writeWholeFile(m_file, "new");

    ::umask(before);
    EXPECT_EQ(testsupport::readFile(m_file), "new");
    EXPECT_EQ(std::filesystem::status(m_file).permissions(), static_cast<std::filesystem::perms>(0640));
}

TEST_F(WholeFileTest, DeviceIsWrittenInPlace)
{
    EXPECT_EQ(problemOf("/dev/null", "anything"), "");

    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(WholeFileTest, FullDeviceIsAFileError)
{
    EXPECT_EQ(problemOf("/dev/full", "anything"), "/dev/full: No space left on device");
}

TEST_F(WholeFileTest, DirectoryIsAFileError)
{
    EXPECT_EQ(problemOf(m_directory.path().string(), "anything"), m_directory.path().string() + ": Is a directory");
}

struct FailingStep
{
    std::vector<testsupport::FailingCall> calls;
    std::string text;
};

class WholeFileFailureTest : public WholeFileTest, public testing::WithParamInterface<FailingStep>
{};

TEST_P(WholeFileFailureTest, OldFileStaysAndNothingIsLeftBehind)
{
    testsupport::writeFile(m_file, "old");
    std::string problem;

    if (!testsupport::withFailingCalls(GetParam().calls, [&] { problem = problemOf(m_file, "new"); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }

    EXPECT_EQ(problem, m_file + ": " + GetParam().text);
    EXPECT_EQ(testsupport::readFile(m_file), "old");
    EXPECT_EQ(files(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Steps, WholeFileFailureTest,
                         testing::Values(FailingStep{{{SYS_write, ENOSPC, {{2, 3}}}}, "No space left on device"},
                                         FailingStep{{{SYS_fsync, EIO}}, "Input/output error"},
                                         FailingStep{{{SYS_fchmod, EPERM}}, "Operation not permitted"},
                                         FailingStep{testsupport::failingRename(EROFS), "Read-only file system"}));
