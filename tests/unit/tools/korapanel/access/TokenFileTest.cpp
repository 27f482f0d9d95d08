#include "tools/korapanel/access/TokenFile.h"

#include "tests/support/TempDir.h"
#include "tools/common/FileLines.h"
#include "tools/korapanel/access/Secret.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

using namespace korapanel;

namespace
{

Tokens read(const std::string& text)
{
    std::istringstream in(text);
    return readTokens(in, "tokens");
}

std::string complaintOf(const std::string& text)
{
    try
    {
        (void)read(text);
        return "";
    }
    catch (const koractl::FileError& problem)
    {
        return problem.what();
    }
}

} // namespace

TEST(ReadTokens, GivenLinesTellsNamesHashesAndRights)
{
    const Tokens tokens = read("# who\nanna $y$a control\n\neva $y$b read\n");

    EXPECT_EQ(tokens, (Tokens{{"anna", {"$y$a", true}}, {"eva", {"$y$b", false}}}));
}

TEST(ReadTokens, GivenBadLinesNamesEach)
{
    EXPECT_EQ(complaintOf("anna $y$a\n"), "tokens:1: a line ends with read or control");
    EXPECT_EQ(complaintOf("anna $y$a read more\n"), "tokens:1: a line ends with read or control");
    EXPECT_EQ(complaintOf("anna plain read\n"), "tokens:1: the token's hash is missing");
    EXPECT_EQ(complaintOf("an.na $y$a read\n"),
              "tokens:1: a token's name has up to 32 letters, digits, hyphens and underscores");
    EXPECT_EQ(complaintOf("anna $y$a read\nanna $y$b read\n"), "tokens:2: 'anna' has a token already");
}

TEST(ReadTokens, GivenMoreThanTheBoundComplains)
{
    std::string text;
    for (int i = 0; i < 257; ++i)
    {
        text += "t" + std::to_string(i) + " $y$a read\n";
    }

    EXPECT_EQ(complaintOf(text), "tokens:257: there are more than 256 tokens");
}

TEST(AddToken, GivenNoFileMakesItAndItsTokenIsRight)
{
    const testsupport::TempDir folder;
    const std::string file = (folder.path() / "tokens").string();

    const auto anna = cutToken(addToken(file, "anna", true));
    const auto eva = cutToken(addToken(file, "eva", false));

    ASSERT_TRUE(anna && eva);
    std::ifstream in(file);
    const Tokens tokens = readTokens(in, file);
    ASSERT_EQ(tokens.size(), 2U);
    EXPECT_TRUE(isHashOf(tokens.at("anna").hash, anna->secret));
    EXPECT_FALSE(isHashOf(tokens.at("anna").hash, eva->secret));
    EXPECT_TRUE(tokens.at("anna").mayControl);
    EXPECT_FALSE(tokens.at("eva").mayControl);
}

TEST(AddToken, GivenNameThatIsTakenOrNoneLeavesTheFile)
{
    const testsupport::TempDir folder;
    const std::string file = (folder.path() / "tokens").string();
    testsupport::writeFile(file, "anna $y$a read"); // without an end of line

    EXPECT_THROW((void)addToken(file, "anna", true), std::invalid_argument);
    EXPECT_THROW((void)addToken(file, "an na", true), std::invalid_argument);
    EXPECT_THROW((void)addToken("/dev/full", "anna", true), koractl::FileError); // a line without an end
    EXPECT_EQ(testsupport::readFile(file), "anna $y$a read");
    (void)addToken(file, "eva", true);
    EXPECT_TRUE(testsupport::readFile(file).starts_with("anna $y$a read\neva $y$"));
}

TEST(CutToken, GivenWhatIsNoTokenIsNothing)
{
    for (const char* const text : {"", "anna", "anna.", ".secret", "anna.sec ret", "an na.secret", "anna.a.b"})
    {
        EXPECT_FALSE(cutToken(text)) << text;
    }
    EXPECT_FALSE(cutToken("anna." + std::string(65, 'x')));
    EXPECT_FALSE(cutToken(std::string(33, 'x') + ".secret"));
    EXPECT_EQ(cutToken("anna.secret")->secret, "secret");
}

TEST(TokenFile, GivenFileThatGoesLetsNobodyInUntilItIsBack)
{
    const testsupport::TempDir folder;
    const std::string file = (folder.path() / "tokens").string();
    testsupport::writeFile(file, "anna $y$a read\n");
    TokenFile sut(file);
    ASSERT_EQ(sut.tokens().size(), 1U);

    std::filesystem::remove(file);
    EXPECT_TRUE(sut.tokens().empty());
    testsupport::writeFile(file, "anna $y$a read\neva $y$b read\n");
    EXPECT_EQ(sut.tokens().size(), 2U);
}

TEST(Secret, IsAnotherEachTimeAndOfTheSameLength)
{
    const std::string one = randomSecret();

    EXPECT_EQ(one.size(), 43U);
    EXPECT_NE(one, randomSecret());
    EXPECT_TRUE(cutToken("anna." + one));
}

TEST(Secret, GivenTextsOfAnyLengthComparesThem)
{
    EXPECT_TRUE(isSameSecret("abc", "abc"));
    EXPECT_FALSE(isSameSecret("abc", "abd"));
    EXPECT_FALSE(isSameSecret("abc", "ab"));
    EXPECT_TRUE(isSameSecret("", ""));
    EXPECT_FALSE(isHashOf("*0", "abc"));
    EXPECT_FALSE(isHashOf("", ""));
}
