#include "tools/korapanel/http/StaticFiles.h"

#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace korapanel;

TEST(StaticFiles, GivenPathsOfThePageAnswersTheFiles)
{
    const testsupport::TempDir folder;
    testsupport::writeFile(folder.path() / "index.html", "<p>");
    std::filesystem::create_directory(folder.path() / "parts");
    testsupport::writeFile(folder.path() / "parts/app.js", "1");
    const StaticFiles sut(folder.path().string());

    EXPECT_EQ(*sut.get("/")->body, "<p>");
    EXPECT_EQ(sut.get("/")->contentType, "text/html; charset=utf-8");
    EXPECT_EQ(*sut.get("/page/parts/app.js")->body, "1");
    EXPECT_EQ(sut.get("/page/parts/app.js")->contentType, "text/javascript; charset=utf-8");
    EXPECT_FALSE(sut.get("/api/state"));
}

TEST(StaticFiles, GivenWhatIsNoFileOfThePageAnswers404)
{
    const testsupport::TempDir folder;
    testsupport::writeFile(folder.path() / "outside", "secret");
    std::filesystem::create_directory(folder.path() / "page");
    std::filesystem::create_symlink(folder.path() / "outside", folder.path() / "page/link.js");
    std::filesystem::create_symlink(folder.path(), folder.path() / "page/up");
    testsupport::writeFile(folder.path() / "page/.hidden", "secret");
    testsupport::writeFile(folder.path() / "page/large.js", std::string(StaticFiles::longestFile + 1, ' '));
    const StaticFiles sut((folder.path() / "page").string());

    for (const char* const path :
         {"/", "/page/", "/page/none.js", "/page/link.js", "/page/up/outside", "/page/../outside", "/page/.hidden",
          "/page/large.js", "/page//etc/passwd", "/page/a%2fb", "/page/."})
    {
        EXPECT_EQ(sut.get(path)->status, 404U) << path;
    }
}
