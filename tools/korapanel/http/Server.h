#pragma once

#include "runtime/util/UniqueFd.h"
#include "tools/korapanel/http/Message.h"
#include "tools/korapanel/http/Streams.h"

#include <microhttpd.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace korapanel
{

/// Where the panel listens, and with which certificate.
struct ServerSettings
{
    std::string address = "127.0.0.1"; ///< numeric
    std::uint16_t port = 8090;         ///< 0: any that is free
    std::string certificate;           ///< PEM; empty: no TLS
    std::string key;
};

/// True when nobody but this machine can reach the address.
bool isLoopback(const std::string& address);

/// The HTTP server, on a thread of its own that never waits for anybody. Made and stopped by one thread. What a peer
/// can make grow is bounded: connections, the bytes of a request, what is kept for a connection and for how long.
class Server
{
public:
    static constexpr unsigned mostConnections = 512;
    static constexpr std::size_t longestBody = 512UL * 1024;
    /// Of headers and of what waits to be sent.
    static constexpr std::size_t connectionBytes = 16UL * 1024;
    /// For a peer that neither sends nor takes anything.
    static constexpr unsigned idleSeconds = 15;

    using Handler = std::function<void(const Request&, Reply)>;

    /// Listens and serves from now on. The handler runs on the server's thread. Throws std::runtime_error with a
    /// sentence.
    Server(const ServerSettings& settings, Handler handler, Streams& streams);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::uint16_t port() const { return m_port; }
    /// All that was asked must be answered and all streams be ending. Idempotent.
    void stop();

private:
    struct Exchange;

    static MHD_Result handle(void* self, MHD_Connection* connection, const char* url, const char* method,
                             const char* version, const char* data, std::size_t* dataSize, void** exchange);
    static void completed(void* self, MHD_Connection* connection, void** exchange, MHD_RequestTerminationCode code);
    static void connectionChanged(void* self, MHD_Connection* connection, void** context,
                                  MHD_ConnectionNotificationCode code);
    MHD_Result begin(MHD_Connection* connection, const char* url, const char* method, void** place);
    MHD_Result ask(const std::shared_ptr<Exchange>& exchange);
    MHD_Result send(const Exchange& exchange, const Answer& answer);

    const Handler m_handler;
    Streams& m_streams;
    std::string m_certificate;
    std::string m_key;
    std::uint16_t m_port = 0;
    MHD_Daemon* m_daemon = nullptr;
};

} // namespace korapanel
