#include "dds/detail/Report.hpp"

#include <dds/ddsrt/log.h>

namespace dds::detail
{

void reportError(const char* what, const char* text) noexcept
{
    dds_log(DDS_LC_ERROR, __FILE__, __LINE__, __func__, "%s: %s\n", what, text);
}

} // namespace dds::detail
