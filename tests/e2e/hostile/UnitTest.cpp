#include "tests/e2e/hostile/HostileFixture.h"
#include "tests/support/MeaningfulMemory.h"
#include "tests/support/TempDir.h"

#include <sstream>

using namespace e2e;

namespace
{

/// What the service's unit says; empty when it says nothing.
std::string setting(const std::string& name)
{
    std::istringstream unit(testsupport::readFile(testsupport::sourceFolder() / "debian" / "korabridge.service"));
    for (std::string line; std::getline(unit, line);)
    {
        if (line.starts_with(name + "="))
        {
            return line.substr(name.size() + 1);
        }
    }
    return "";
}

/// A setting in mebibytes; 0 when it is none.
std::size_t mebibytes(const std::string& name)
{
    const std::string text = setting(name);
    return text.ends_with("M") ? std::stoul(text) : 0;
}

class ServiceLimitsTest : public HostileFixture
{
protected:
    /// A number of /proc/PID/status.
    std::size_t status(const std::string& name)
    {
        std::istringstream lines(testsupport::readFile("/proc/" + std::to_string(bridge().pid()) + "/status"));
        for (std::string line; std::getline(lines, line);)
        {
            if (line.starts_with(name + ":"))
            {
                return std::stoul(line.substr(name.size() + 1));
            }
        }
        return 0;
    }
};

} // namespace

TEST(ServiceUnit, StartsTheBridgeAgainHoweverItEnds)
{
    EXPECT_EQ(setting("Restart"), "always") << "the console's quit ends it with status 0";
}

TEST(ServiceUnit, BoundsMemoryWithRoomBetweenSlowingAndEnding)
{
    EXPECT_GT(mebibytes("MemoryHigh"), 0U);
    EXPECT_GT(mebibytes("MemoryMax"), mebibytes("MemoryHigh"));
    EXPECT_EQ(setting("MemorySwapMax"), "0") << "a bridge in swap answers nobody";
}

TEST_F(ServiceLimitsTest, FullHouseStaysWellBelowTheUnitsLimits)
{
    startJoined();
    std::vector<koraclient::KoraClient> controllers;
    for (int i = 0; i < 16; ++i)
    {
        controllers.push_back(connectController());
        EXPECT_EQ(controllers.back().outputStatus(1, audioLevel, 1, 1000).entries.size(), 1000U);
    }

    const std::size_t resident = status("VmHWM") / 1024;
    const std::size_t threads = status("Threads");

    EXPECT_GT(resident, 0U);
    if (testsupport::isMemoryMeaningful)
    {
        EXPECT_LT(resident, mebibytes("MemoryHigh") / 2);
    }
    EXPECT_GT(threads, 16U);
    EXPECT_FALSE(setting("TasksMax").empty());
    EXPECT_LT(threads, std::stoul("0" + setting("TasksMax")) / 2);
}
