#include "tests/support/Places.h"

namespace testsupport
{

std::filesystem::path sourceFolder()
{
    return KORABRIDGE_SOURCE_DIR;
}

std::filesystem::path buildFolder()
{
    return KORABRIDGE_BINARY_DIR;
}

} // namespace testsupport
