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
    case DDS_RETCODE_UNSUPPORTED:
        throw core::UnsupportedError(text);
    case DDS_RETCODE_BAD_PARAMETER:
        throw core::InvalidArgumentError(text);
    case DDS_RETCODE_PRECONDITION_NOT_MET:
        throw core::PreconditionNotMetError(text);
    case DDS_RETCODE_OUT_OF_RESOURCES:
        throw core::OutOfResourcesError(text);
    case DDS_RETCODE_NOT_ENABLED:
        throw core::NotEnabledError(text);
    case DDS_RETCODE_IMMUTABLE_POLICY:
        throw core::ImmutablePolicyError(text);
    case DDS_RETCODE_INCONSISTENT_POLICY:
        throw core::InconsistentPolicyError(text);
    case DDS_RETCODE_ALREADY_DELETED:
        throw core::AlreadyClosedError(text);
    case DDS_RETCODE_TIMEOUT:
        throw core::TimeoutError(text);
    case DDS_RETCODE_ILLEGAL_OPERATION:
        throw core::IllegalOperationError(text);
    default:
        throw core::Error(text);
    }
}

} // namespace dds::detail
