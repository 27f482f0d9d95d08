#include "tools/korapanel/api/Salvos.h"

#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace korapanel;

namespace
{

class SalvosTest : public testing::Test
{
protected:
    void write(const std::string& name, const std::string& text) const
    {
        testsupport::writeFile(m_folder.path() / name, text);
    }

    testsupport::TempDir m_folder;
    Salvos sut{m_folder.path().string(), koractl::Names::none()};
};

constexpr const char* backup = "koractl-backup 1\nlevel 1\noutput 3 input 7\n";

} // namespace

TEST_F(SalvosTest, GivenBackupsAndOtherFilesListsTheBackups)
{
    write("studio b", backup);
    write("studio-a", std::string(backup) + "output 4 input 8\n");
    write(".hidden", backup);
    write("notes", "something");
    write("large", std::string(backup) + std::string(Salvos::longestFile, '#'));
    std::filesystem::create_directory(m_folder.path() / "folder");
    std::filesystem::create_symlink(m_folder.path() / "studio-a", m_folder.path() / "link");

    const auto list = sut.list();

    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].name, "studio b");
    EXPECT_EQ(list[1].name, "studio-a");
    EXPECT_EQ(list[1].entries, 2U);
    EXPECT_FALSE(sut.read("link"));
    EXPECT_FALSE(sut.read(".hidden"));
    EXPECT_FALSE(sut.read("large"));
}

TEST_F(SalvosTest, GivenFileThatChangedCountsAgain)
{
    write("a", backup);
    ASSERT_EQ(sut.list().at(0).entries, 1U);

    write("a", std::string(backup) + "output 4 input 8\n");

    EXPECT_EQ(sut.list().at(0).entries, 2U);
}

TEST_F(SalvosTest, GivenPathInsteadOfANameIsRefused)
{
    for (const char* const name : {"", "../x", "a/b", "/etc/passwd", ".", "..", "a\n"})
    {
        EXPECT_FALSE(Salvos::isName(name)) << name;
    }
}

TEST_F(SalvosTest, GivenNoFolderHasNoneOfWhereItRuns)
{
    write("a", backup);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.path());
    Salvos none("", koractl::Names::none());

    EXPECT_TRUE(none.list().empty());
    EXPECT_FALSE(none.read("a"));
    EXPECT_TRUE(Salvos(".", koractl::Names::none()).read("a"));
    std::filesystem::current_path(before);
}
