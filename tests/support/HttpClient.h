#pragma once

#include "tests/support/TcpSocket.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace testsupport
{

/// What a server answered. A status of 0: nothing.
struct HttpAnswer
{
    int status = 0;
    std::map<std::string, std::string> headers; ///< names in small letters
    std::string body;
};

using HttpHeaders = std::map<std::string, std::string>;

/// One request on a connection of its own to 127.0.0.1; Host is that address with the port unless named.
HttpAnswer httpRequest(std::uint16_t port, const std::string& method, const std::string& path,
                       const HttpHeaders& headers = {}, const std::string& body = {});
inline HttpAnswer httpGet(std::uint16_t port, const std::string& path, const HttpHeaders& headers = {})
{
    return httpRequest(port, "GET", path, headers);
}
/// A body of JSON.
HttpAnswer httpPost(std::uint16_t port, const std::string& path, const std::string& body, HttpHeaders headers = {});

/// The bytes of such a request.
std::string httpText(std::uint16_t port, const std::string& method, const std::string& path, const HttpHeaders& headers,
                     const std::string& body);

/// A stream of events that is followed. Deadlines are scaled to the machine.
class EventStream
{
public:
    /// Throws std::runtime_error when the port refuses.
    explicit EventStream(std::uint16_t port, const HttpHeaders& headers = {}, const std::string& path = "/api/events");

    /// Reads until the text so far holds `text`; false at the deadline or the stream's end.
    bool waitFor(const std::string& text, std::chrono::milliseconds deadline = std::chrono::seconds(10));
    bool waitForEnd(std::chrono::milliseconds deadline = std::chrono::seconds(10)) const;
    /// All that has been read of the body, or of an answer that is no stream.
    const std::string& text() const { return m_text; }
    /// Forgets what has been read.
    void clear() { m_text.clear(); }
    const TcpSocket& socket() const { return m_socket; }

private:
    /// Moves what is whole of the raw bytes to the text.
    void decode();

    TcpSocket m_socket;
    std::string m_raw;
    std::string m_text;
    bool m_isBody = false; ///< the headers are through
};

} // namespace testsupport
