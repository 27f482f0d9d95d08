#include "tools/common/BackupFile.h"

#include "tools/common/FileLines.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

using namespace koraclient;
using namespace koractl;

namespace
{

std::vector<OutputWish> read(const std::string& text, const Names& names = Names::none())
{
    std::istringstream in(text);
    return readBackup(in, "plant.backup", AddressReader(names));
}

} // namespace

TEST(BackupFile, GoldenLines)
{
    std::istringstream in("level 1 video\ninput 12 CAM 1\noutput 7 MON 3\n");
    const Names names = Names::read(in, "names");
    const LevelSnapshot snapshot{{7, {7, 0, 12, OutputLpr{0, 0}}},
                                 {8, {8, 3, 0, OutputLpr{2, 12}}},
                                 {9, {9, 25, 0, OutputLpr{0, 0}}},
                                 {1000, {1000, 0, 12, OutputLpr{1, 5}}}};
    std::ostringstream out;

    writeBackupStart(out, "2026-11-21 06:30:12 UTC");
    writeBackupLevel(out, 1, snapshot, names);
    writeBackupLevel(out, 2, {{1, {1, 0, 1, OutputLpr{0, 0}}}}, names);

    EXPECT_EQ(out.str(), "koractl-backup 1\n"
                         "# written 2026-11-21 06:30:12 UTC\n"
                         "\n"
                         "level 1  # video\n"
                         "output    7 input   12 released  # MON 3 <- CAM 1\n"
                         "output    8 input none protected by 12\n"
                         "# output 9 not saved: the crosspoints of output 9 disagree\n"
                         "output 1000 input   12 locked by 5  # 1000 <- CAM 1\n"
                         "\n"
                         "level 2\n"
                         "output    1 input    1 released\n");
}

TEST(BackupFile, ReadsWhatItWrote)
{
    const LevelSnapshot snapshot{{7, {7, 0, 12, OutputLpr{0, 0}}}, {8, {8, 3, 0, OutputLpr{2, 12}}}};
    std::ostringstream out;
    writeBackupStart(out, "now");
    writeBackupLevel(out, 4, snapshot, Names::none());

    const auto wishes = read(out.str());

    ASSERT_EQ(wishes.size(), 2U);
    EXPECT_EQ(wishes[0].level, 4U);
    EXPECT_EQ(wishes[0].output, 7U);
    EXPECT_EQ(wishes[0].line, 5U);
    EXPECT_EQ(wishes[0].route->input, 12U);
    EXPECT_EQ(wishes[0].lpr, (OutputLpr{0, 0}));
    EXPECT_EQ(wishes[1].route->input, std::nullopt);
    EXPECT_EQ(wishes[1].lpr, (OutputLpr{2, 12}));
}

TEST(BackupFile, GivenEditedLinesTakesNamesPartsAndComments)
{
    std::istringstream in("level 1 video\ninput 12 CAM 1\ninput 13 CAM 2\noutput 7 MON 3\n");
    const Names names = Names::read(in, "names");

    const auto wishes = read("koractl-backup 1\nlevel video\noutput \"MON 3\" input \"CAM 1\" # by hand\n"
                             "\toutput 8 locked by 0x2a\r\noutput 9 input none\n",
                             names);

    ASSERT_EQ(wishes.size(), 3U);
    EXPECT_EQ(wishes[0].output, 7U);
    EXPECT_EQ(wishes[0].route->input, 12U);
    EXPECT_FALSE(wishes[0].lpr);
    EXPECT_FALSE(wishes[1].route);
    EXPECT_EQ(wishes[1].lpr, (OutputLpr{1, 42}));
    EXPECT_FALSE(wishes[2].lpr);
}

TEST(BackupFile, GivenDamagedTextEitherReadsItOrSaysWhichLine)
{
    const std::string whole = "koractl-backup 1\nlevel 1\noutput 1 input \"CAM 1\" locked by 42\noutput 2 input none\n"
                              "level 2 # audio\noutput 0x10 protected by 7\n";
    std::istringstream in("input 12 CAM 1\n");
    const Names names = Names::read(in, "names");
    std::mt19937 random(20261121);
    std::size_t refused = 0;

    for (int round = 0; round < 5000; ++round)
    {
        std::string text = whole;
        for (std::uint32_t damage = random() % 4 + 1; damage > 0; --damage)
        {
            const std::size_t at = random() % text.size();
            switch (random() % 3)
            {
            case 0:
                text[at] = static_cast<char>(random() % 256);
                break;
            case 1:
                text.erase(at, random() % 8 + 1);
                break;
            default:
                text.insert(at, text.substr(random() % text.size(), random() % 12));
            }
            text += text.empty() ? "k" : "";
        }
        try
        {
            for (const OutputWish& wish : read(text, names))
            {
                ASSERT_TRUE(wish.route || wish.lpr);
            }
        }
        catch (const FileError& problem)
        {
            ++refused;
            ASSERT_EQ(std::string(problem.what()).find("plant.backup:"), 0U) << problem.what();
        }
    }

    EXPECT_GT(refused, 1000U);
    EXPECT_LT(refused, 5000U);
}

struct BadFile
{
    const char* text;
    const char* complaint;
};

class BackupFileBad : public testing::TestWithParam<BadFile>
{};

TEST_P(BackupFileBad, IsRefusedWithTheLine)
{
    try
    {
        (void)read(GetParam().text);
        FAIL() << "it was accepted";
    }
    catch (const FileError& problem)
    {
        EXPECT_EQ(problem.what(), std::string("plant.backup:") + GetParam().complaint);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BackupFileBad,
    testing::Values(
        BadFile{"", "1: this is not a backup: the file is empty"},
        BadFile{"# nothing\n\n", "1: this is not a backup: the file is empty"},
        BadFile{"\nlevel 1\n", "2: this is not a backup: the first line is not 'koractl-backup 1'"},
        BadFile{"koractl-backup 2\n", "1: version 2 of the backup format is unknown"},
        BadFile{"koractl-backup\n", "1: the version is missing"},
        BadFile{"koractl-backup 1\noutput 1 input 1\n", "2: no level is named before this output"},
        BadFile{"koractl-backup 1\nlevel x\noutput 1 released\n",
                "2: 'x' is not a number from 0 to 4294967295\nplant.backup:3: no level is named before this output"},
        BadFile{"koractl-backup 1\nlevel 1\nroute 1 2\n", "3: 'route' cannot begin a line; level or output can"},
        BadFile{"koractl-backup 1\nlevel 1\noutput # 3\n", "3: an output is missing"},
        BadFile{"koractl-backup 1\nlevel 1\noutput 1 input\n", "3: an input is missing"},
        BadFile{"koractl-backup 1\nlevel 1\noutput 1 input 2 released now\n", "3: 'now' is too much"},
        BadFile{"koractl-backup 1\nlevel 1\noutput 1 input 2 locked\n", "3: 'by' and the holder's lprId are missing"},
        BadFile{"koractl-backup 1\nlevel 1\noutput 1 protected by\n", "3: the holder's lprId is missing"},
        BadFile{"koractl-backup 1\nlevel 1\noutput 1 # later\n",
                "3: the line says neither an input nor a state for its output"},
        BadFile{"koractl-backup 1\nlevel 1\noutput \"1\n", "3: a quotation mark is not closed"},
        BadFile{"koractl-backup 1\nlevel 1\noutput 1 released\noutput 2 released\noutput 1 input 4\n",
                "5: output 1 of level 1 stands in line 3 already"}));
