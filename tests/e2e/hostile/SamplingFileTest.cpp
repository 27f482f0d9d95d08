#include "tests/e2e/console/OperatorFixture.h"

#include <sys/stat.h>

#include <filesystem>

using namespace e2e;

namespace
{

/// What another account may put where the timing samples go: the directory is shared.
class SamplingFileTest : public OperatorFixture
{
protected:
    void SetUp() override
    {
        if (!startJoinedWithOwnLogDirectory())
        {
            GTEST_SKIP() << "needs a mount namespace";
        }
        std::filesystem::create_directories(logDirectory() / "arcwright");
    }
    std::filesystem::path file() const { return logDirectory() / "arcwright" / "korabridge.csv"; }
    void expectRefusal()
    {
        Operator sut;
        sut.choose("4");
        EXPECT_EQ(sut.choose("5"), "");
        EXPECT_TRUE(bridge().waitForOutput("Failed to open: '/var/log/arcwright/korabridge.csv' for writing\n"));
        EXPECT_FALSE(sut.choose("show tasks").empty()) << "the menu goes on";
    }
};

} // namespace

TEST_F(SamplingFileTest, LinkIsNotFollowed)
{
    const auto victim = logDirectory() / "victim";
    testsupport::writeFile(victim, "targets of a week\n");
    std::filesystem::create_symlink("../victim", file());

    expectRefusal();

    EXPECT_EQ(testsupport::readFile(victim), "targets of a week\n");
}

TEST_F(SamplingFileTest, PipeThatNobodyReadsHoldsNobodyUp)
{
    ASSERT_EQ(::mkfifo(file().c_str(), 0666), 0);

    expectRefusal();
}
