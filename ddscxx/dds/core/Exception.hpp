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

/// One concrete exception: a DDS exception that is also the standard exception `Base`.
template <typename Base, typename Tag>
class BasicError : public Exception, public Base
{
public:
    explicit BasicError(const std::string& text) : Base(text) {}
    const char* what() const noexcept override { return Base::what(); }
};

using Error = BasicError<std::runtime_error, struct ErrorTag>;
using AlreadyClosedError = BasicError<std::logic_error, struct AlreadyClosedTag>;
using IllegalOperationError = BasicError<std::logic_error, struct IllegalOperationTag>;
using ImmutablePolicyError = BasicError<std::logic_error, struct ImmutablePolicyTag>;
using InconsistentPolicyError = BasicError<std::logic_error, struct InconsistentPolicyTag>;
using InvalidArgumentError = BasicError<std::invalid_argument, struct InvalidArgumentTag>;
using NotEnabledError = BasicError<std::logic_error, struct NotEnabledTag>;
using NullReferenceError = BasicError<std::logic_error, struct NullReferenceTag>;
using OutOfResourcesError = BasicError<std::runtime_error, struct OutOfResourcesTag>;
using PreconditionNotMetError = BasicError<std::logic_error, struct PreconditionNotMetTag>;
using TimeoutError = BasicError<std::runtime_error, struct TimeoutTag>;
using UnsupportedError = BasicError<std::logic_error, struct UnsupportedTag>;

} // namespace dds::core
