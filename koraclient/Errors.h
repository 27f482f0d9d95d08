#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace koraclient
{

/// Base of everything that a `KoraClient` throws; the text is a readable sentence for the user.
class KoraError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// No connection: unknown host, refused, unreachable, or not accepted in time.
class ConnectError : public KoraError
{
public:
    enum class Cause
    {
        refused,     ///< the machine answers, and nothing listens there
        late,        ///< nobody answers
        unknownHost, ///< the name has no address
        other,       ///< no way there, or this machine has no socket to give
    };

    explicit ConnectError(const std::string& text, Cause cause = Cause::other) : KoraError(text), m_cause(cause) {}

    Cause cause() const { return m_cause; }

private:
    Cause m_cause;
};

/// The bridge took longer than the client's timeout to take a request or to answer it.
class TimeoutError : public KoraError
{
public:
    using KoraError::KoraError;
};

/// The bridge closed or reset the connection.
class PeerClosed : public KoraError
{
public:
    using KoraError::KoraError;
};

/// Somebody else wanted the wait to end. The stream may be out of step.
class Interrupted : public KoraError
{
public:
    using KoraError::KoraError;
};

/// What came is not the response to what was asked. The stream may be out of step: connect again.
class ProtocolError : public KoraError
{
public:
    using KoraError::KoraError;
};

/// The bridge answered with the error response. The connection stays usable.
class ErrorResponse : public KoraError
{
public:
    explicit ErrorResponse(std::uint32_t code)
        : KoraError("the bridge answered with error code " + std::to_string(code)), m_code(code)
    {}

    /// 8: the bridge has no command with the request's message id.
    std::uint32_t code() const { return m_code; }

private:
    std::uint32_t m_code;
};

} // namespace koraclient
