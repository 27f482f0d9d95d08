#include "tests/support/Places.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

/// What the service's unit says; empty when it says nothing.
std::string setting(const std::string& name)
{
    const std::string unit =
        "\n" + testsupport::readFile(testsupport::sourceFolder() / "debian" / "korabridge.service");
    const auto at = unit.find("\n" + name + "=");
    return at == std::string::npos ? ""
                                   : unit.substr(at + name.size() + 2, unit.find('\n', at + 1) - at - name.size() - 2);
}

} // namespace

TEST(ServiceUnit, StartsTheBridgeAgainHoweverItEnds)
{
    EXPECT_EQ(setting("Restart"), "always") << "the console's quit ends it with status 0";
}
