#include "dds/detail/Entity.hpp"

#include "dds/core/Exception.hpp"

#include <dds/ddsrt/log.h>

namespace dds::detail
{

dds_return_t check(dds_return_t code, const std::string& call, const std::string& hint)
{
    if (code >= 0)
    {
        return code;
    }
    const std::string text = call + ": " + dds_strretcode(code) + (hint.empty() ? "" : " (" + hint + ")");
    switch (code)
    {
    case DDS_RETCODE_INCONSISTENT_POLICY:
        throw core::InconsistentPolicyError(text);
    case DDS_RETCODE_TIMEOUT:
        throw core::TimeoutError(text);
    default:
        throw core::Error(text);
    }
}

void reportError(const char* what, const char* text) noexcept
{
    dds_log(DDS_LC_ERROR, __FILE__, __LINE__, __func__, "%s: %s\n", what, text);
}

Entity::~Entity()
{
    const dds_return_t code = dds_delete(m_handle);
    if (code < 0)
    {
        reportError("deleting a DDS entity", dds_strretcode(code));
    }
}

} // namespace dds::detail
