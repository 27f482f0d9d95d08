#include "durability/DurableSettings.h"

#include <cstdlib>
#include <string_view>

namespace com::tallowcrest::durability
{

std::filesystem::path storePath()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment after the start
    const char* const path = std::getenv("KORABRIDGE_DURABLE_STORE");
    return path != nullptr && *path != '\0' ? path : "/var/lib/korabridge/durable.db";
}

bool areTargetsShared()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment after the start
    const char* const value = std::getenv("KORABRIDGE_SHARED_TARGETS");
    return value != nullptr && std::string_view(value) == "1";
}

} // namespace com::tallowcrest::durability
