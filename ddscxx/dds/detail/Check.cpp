#include "dds/detail/Check.hpp"

#include "dds/core/Exception.hpp"

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

} // namespace dds::detail
