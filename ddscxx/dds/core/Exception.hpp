#pragma once

#include <stdexcept>
#include <string>

namespace dds::core
{

/// Root of the exceptions of the DDS interface. Each concrete class also derives from a standard exception, so that a
/// handler for std::exception sees it too.
class Exception
{
public:
    virtual ~Exception() = default;
    virtual const char* what() const noexcept = 0;

protected:
    Exception() = default;
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
};

/// One concrete exception: a DDS exception that is also the standard exception `Base`. There is one of its own for what
/// somebody tells apart from the rest.
template <typename Base, typename Tag>
class BasicError : public Exception, public Base
{
public:
    explicit BasicError(const std::string& text) : Base(text) {}
    const char* what() const noexcept override { return Base::what(); }
};

using Error = BasicError<std::runtime_error, struct ErrorTag>;
using InconsistentPolicyError = BasicError<std::logic_error, struct InconsistentPolicyTag>;
using NullReferenceError = BasicError<std::logic_error, struct NullReferenceTag>;
using TimeoutError = BasicError<std::runtime_error, struct TimeoutTag>;

} // namespace dds::core
