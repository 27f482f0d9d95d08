#include "dds/detail/Entity.hpp"

#include "dds/core/Exception.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using dds::detail::check;

namespace
{

/// The text with which `code` is thrown as an `ErrorType`; "" when something else happens.
template <typename ErrorType>
std::string thrownFor(dds_return_t code)
{
    try
    {
        check(code, "doing it");
    }
    catch (const ErrorType& error)
    {
        return error.what();
    }
    catch (const std::exception&)
    {
        return "";
    }
    return "";
}

} // namespace

TEST(Check, ReturnsACodeThatIsNotNegative)
{
    EXPECT_EQ(check(0, "doing it"), 0);
    EXPECT_EQ(check(17, "doing it"), 17);
}

TEST(Check, ThrowsTheExceptionOfTheCodeWithTheCallAndTheCodesText)
{
    using namespace dds::core;
    EXPECT_EQ(thrownFor<Error>(DDS_RETCODE_ERROR), "doing it: Error");
    EXPECT_EQ(thrownFor<Error>(DDS_RETCODE_UNSUPPORTED), "doing it: Unsupported");
    EXPECT_EQ(thrownFor<Error>(DDS_RETCODE_BAD_PARAMETER), "doing it: Bad Parameter");
    EXPECT_EQ(thrownFor<Error>(DDS_RETCODE_PRECONDITION_NOT_MET), "doing it: Precondition Not Met");
    EXPECT_EQ(thrownFor<Error>(DDS_RETCODE_OUT_OF_RESOURCES), "doing it: Out Of Resources");
    EXPECT_EQ(thrownFor<Error>(DDS_RETCODE_NOT_ENABLED), "doing it: Not Enabled");
    EXPECT_EQ(thrownFor<Error>(DDS_RETCODE_IMMUTABLE_POLICY), "doing it: Immutable Policy");
    EXPECT_EQ(thrownFor<InconsistentPolicyError>(DDS_RETCODE_INCONSISTENT_POLICY), "doing it: Inconsistent Policy");
    EXPECT_EQ(thrownFor<Error>(DDS_RETCODE_ALREADY_DELETED), "doing it: Already Deleted");
    EXPECT_EQ(thrownFor<TimeoutError>(DDS_RETCODE_TIMEOUT), "doing it: Timeout");
    EXPECT_EQ(thrownFor<Error>(DDS_RETCODE_ILLEGAL_OPERATION), "doing it: Illegal Operation");
}

TEST(Check, ThrowsErrorForACodeWithoutAnExceptionOfItsOwn)
{
    EXPECT_EQ(thrownFor<dds::core::Error>(DDS_RETCODE_NOT_ALLOWED_BY_SECURITY), "doing it: Not Allowed By Security");
}

TEST(Check, EveryExceptionIsAlsoAnExceptionOfTheInterfacesRoot)
{
    EXPECT_EQ(thrownFor<dds::core::Exception>(DDS_RETCODE_TIMEOUT), "doing it: Timeout");
}

TEST(Check, AppendsTheHint)
{
    try
    {
        check(DDS_RETCODE_ERROR, "doing it", "because of that");
        FAIL() << "nothing was thrown";
    }
    catch (const dds::core::Error& error)
    {
        EXPECT_STREQ(error.what(), "doing it: Error (because of that)");
    }
}
