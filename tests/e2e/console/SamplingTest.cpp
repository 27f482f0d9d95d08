#include "tests/e2e/console/OperatorFixture.h"

#include <cstdio>

using namespace e2e;

namespace
{

class ConsoleSamplingTest : public OperatorFixture
{
protected:
    void SetUp() override
    {
        if (!startJoinedWithOwnLogDirectory())
        {
            GTEST_SKIP() << "needs a mount namespace for a /var/log of its own";
        }
    }

    std::filesystem::path file() const { return logDirectory() / "arcwright" / "korabridge.csv"; }
    void createDirectory() const { std::filesystem::create_directory(logDirectory() / "arcwright"); }
};

} // namespace

TEST_F(ConsoleSamplingTest, EachRequestAndItsResponseLeaveASample)
{
    createDirectory();
    auto client = connectController();
    client.portPresent(); // sequence 0, before sampling
    Operator sut;
    EXPECT_EQ(sut.choose("4"), "");
    client.setNextTag(0xabc);
    client.take({{videoLevel, 0, 1, 1}});
    client.portPresent();

    EXPECT_EQ(sut.choose("5"), "");

    const auto rows = lines(testsupport::readFile(file()));
    const std::vector<std::string> values{", 80, 0xabc", ", 2147483728, 0x1", ", 16384, 0xabd", ", 2147500032, 0x2"};
    ASSERT_EQ(rows.size(), values.size());
    EXPECT_EQ(rows[0], "0.000" + values[0]);
    double last = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        const auto comma = rows[i].find(',');
        EXPECT_EQ(rows[i].substr(comma), values[i]);
        EXPECT_EQ(rows[i].find('.'), comma - 4); // to the microsecond
        const double time = std::stod(rows[i]);
        EXPECT_GE(time, last);
        last = time;
    }
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(ConsoleSamplingTest, StoppedWithoutStartWritesAnEmptyFile)
{
    createDirectory();
    testsupport::writeFile(file(), "of an earlier run\n");
    Operator sut;

    EXPECT_EQ(sut.choose("stop"), "");

    EXPECT_TRUE(std::filesystem::exists(file()));
    EXPECT_EQ(testsupport::readFile(file()), "");
}

TEST_F(ConsoleSamplingTest, StartedTwiceKeepsWhatIsHeldAndStoppingBeginsAfresh)
{
    createDirectory();
    auto client = connectController();
    Operator sut;
    sut.choose("start");
    client.portPresent();
    sut.choose("start");
    client.portPresent();
    sut.choose("stop");
    EXPECT_EQ(lines(testsupport::readFile(file())).size(), 4U);

    sut.choose("start");
    client.portPresent();
    sut.choose("stop");

    EXPECT_EQ(lines(testsupport::readFile(file())).size(), 2U);
    sut.choose("start");
    EXPECT_EQ(stopBridge(), 0) << "while it samples";
}

TEST_F(ConsoleSamplingTest, MissingDirectoryIsToldOnStandardOutputAndTheSamplesAreGone)
{
    auto client = connectController();
    Operator sut;
    sut.choose("4");
    client.portPresent();

    EXPECT_EQ(sut.choose("5"), "");

    EXPECT_TRUE(bridge().waitForOutput("Failed to open: '/var/log/arcwright/korabridge.csv' for writing\n"));
    createDirectory();
    sut.choose("5");
    EXPECT_EQ(testsupport::readFile(file()), "");
}
