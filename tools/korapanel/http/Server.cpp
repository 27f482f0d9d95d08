#include "tools/korapanel/http/Server.h"

#include "runtime/util/Metrics.h"
#include "runtime/util/SystemError.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

namespace korapanel
{
namespace
{

using com::tallowcrest::util::Counter;
using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

Counter doneCounter("korapanel_requests_total", "HTTP requests that were answered.", "result=\"done\"");
Counter refusedCounter("korapanel_requests_total", "HTTP requests that were answered.", "result=\"refused\"");
Counter failedCounter("korapanel_requests_total", "HTTP requests that were answered.", "result=\"failed\"");

/// What the kernel may keep of an answer that is not read.
constexpr int sendBufferBytes = 64 * 1024;
constexpr unsigned listenBacklog = 64;

constexpr std::array<std::pair<const char*, const char*>, 4> usualHeaders{
    {{"Content-Security-Policy",
      "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
      "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
     {"X-Content-Type-Options", "nosniff"},
     {"Referrer-Policy", "no-referrer"},
     {"Cross-Origin-Resource-Policy", "same-origin"}}};

std::string numericText(const sockaddr* address, socklen_t size)
{
    std::array<char, NI_MAXHOST> text{};
    if (address == nullptr || ::getnameinfo(address, size, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) != 0)
    {
        return "?";
    }
    return text.data();
}

std::string peerText(MHD_Connection* connection)
{
    const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    if (info == nullptr || info->client_addr == nullptr)
    {
        return "?";
    }
    return numericText(info->client_addr,
                       info->client_addr->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in));
}

int socketOf(MHD_Connection* connection)
{
    const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    return info == nullptr ? -1 : info->connect_fd;
}

std::string localText(MHD_Connection* connection)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    void* const place = &address;
    return ::getsockname(socketOf(connection), static_cast<sockaddr*>(place), &size) == 0
               ? numericText(static_cast<const sockaddr*>(place), size)
               : "?";
}

std::string headerOf(MHD_Connection* connection, const char* name, MHD_ValueKind kind = MHD_HEADER_KIND)
{
    const char* const value = MHD_lookup_connection_value(connection, kind, name);
    return value == nullptr ? "" : value;
}

/// The addresses that a numeric text stands for.
struct Resolved
{
    explicit Resolved(const std::string& address, std::uint16_t port)
    {
        addrinfo hints{};
        hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
        hints.ai_socktype = SOCK_STREAM;
        if (::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &list) != 0)
        {
            list = nullptr;
        }
    }
    ~Resolved()
    {
        if (list != nullptr)
        {
            ::freeaddrinfo(list);
        }
    }
    Resolved(const Resolved&) = delete;
    Resolved& operator=(const Resolved&) = delete;

    addrinfo* list = nullptr;
};

UniqueFd listenOn(const std::string& address, std::uint16_t port)
{
    const Resolved resolved(address, port);
    if (resolved.list == nullptr)
    {
        throw std::runtime_error("'" + address + "' is not an address to listen on");
    }
    const addrinfo& wanted = *resolved.list;
    UniqueFd fd(::socket(wanted.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int yes = 1;
    if (!fd.isOpen() || ::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0 ||
        ::bind(fd.get(), wanted.ai_addr, wanted.ai_addrlen) != 0 ||
        ::listen(fd.get(), static_cast<int>(listenBacklog)) != 0)
    {
        throw std::runtime_error("cannot listen on " + address + " port " + std::to_string(port) + ": " +
                                 systemErrorText());
    }
    return fd;
}

std::uint16_t portOf(int fd)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    void* const place = &address;
    (void)::getsockname(fd, static_cast<sockaddr*>(place), &size);
    return ntohs(address.ss_family == AF_INET6 ? static_cast<const sockaddr_in6*>(place)->sin6_port
                                               : static_cast<const sockaddr_in*>(place)->sin_port);
}

} // namespace

bool isLoopback(const std::string& address)
{
    const Resolved resolved(address, 0);
    if (resolved.list == nullptr)
    {
        return false;
    }
    const void* const place = resolved.list->ai_addr;
    if (resolved.list->ai_family == AF_INET6)
    {
        return IN6_IS_ADDR_LOOPBACK(&static_cast<const sockaddr_in6*>(place)->sin6_addr) != 0;
    }
    return ntohl(static_cast<const sockaddr_in*>(place)->sin_addr.s_addr) >> 24U == IN_LOOPBACKNET;
}

/// One request on its way to its answer. Shared with whoever answers, who may do so when the request is gone.
struct Server::Exchange
{
    MHD_Connection* connection = nullptr;
    Request request;
    bool isAsked = false;

    std::mutex mutex; ///< of what follows
    std::optional<Answer> answer;
    bool isSuspended = false;
};

Server::Server(const ServerSettings& settings, Handler handler, Streams& streams)
    : m_handler(std::move(handler)), m_streams(streams), m_certificate(settings.certificate), m_key(settings.key)
{
    UniqueFd socket = listenOn(settings.address, settings.port);
    m_port = portOf(socket.get());
    const bool isEncrypted = !m_certificate.empty();
    unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
    flags |= isEncrypted ? static_cast<unsigned>(MHD_USE_TLS) : 0U;
    std::array<MHD_OptionItem, 3> tls{};
    tls[0] = {MHD_OPTION_END, 0, nullptr};
    if (isEncrypted)
    {
        tls[0] = {MHD_OPTION_HTTPS_MEM_CERT, 0, m_certificate.data()};
        tls[1] = {MHD_OPTION_HTTPS_MEM_KEY, 0, m_key.data()};
        tls[2] = {MHD_OPTION_END, 0, nullptr};
    }
    m_daemon = MHD_start_daemon(
        flags, 0, nullptr, nullptr, &Server::handle, this, MHD_OPTION_LISTEN_SOCKET, socket.get(),
        MHD_OPTION_CONNECTION_LIMIT, mostConnections, MHD_OPTION_CONNECTION_MEMORY_LIMIT, connectionBytes,
        MHD_OPTION_CONNECTION_TIMEOUT, idleSeconds, MHD_OPTION_NOTIFY_COMPLETED, &Server::completed, this,
        MHD_OPTION_NOTIFY_CONNECTION, &Server::connectionChanged, this, MHD_OPTION_ARRAY, tls.data(), MHD_OPTION_END);
    if (m_daemon == nullptr)
    {
        throw std::runtime_error(isEncrypted ? "the server cannot start: is the certificate with its key whole?"
                                             : "the server cannot start: " + systemErrorText());
    }
    (void)socket.release(); // the library closes it
}

Server::~Server()
{
    stop();
}

void Server::stop()
{
    if (m_daemon != nullptr)
    {
        MHD_stop_daemon(std::exchange(m_daemon, nullptr));
    }
}

void Server::connectionChanged(void*, MHD_Connection* connection, void**, MHD_ConnectionNotificationCode code)
{
    if (code == MHD_CONNECTION_NOTIFY_STARTED)
    {
        // Only helps: without it the kernel keeps more for a peer that does not read.
        (void)::setsockopt(socketOf(connection), SOL_SOCKET, SO_SNDBUF, &sendBufferBytes, sizeof sendBufferBytes);
    }
}

void Server::completed(void*, MHD_Connection*, void** exchange, MHD_RequestTerminationCode)
{
    delete static_cast<std::shared_ptr<Exchange>*>(*exchange);
    *exchange = nullptr;
}

MHD_Result Server::handle(void* self, MHD_Connection* connection, const char* url, const char* method, const char*,
                          const char* data, std::size_t* dataSize, void** place)
{
    Server& server = *static_cast<Server*>(self);
    try
    {
        if (*place == nullptr)
        {
            return server.begin(connection, url, method, place);
        }
        const auto exchange = *static_cast<std::shared_ptr<Exchange>*>(*place);
        Request& request = exchange->request;
        if (*dataSize > 0)
        {
            request.isTooLarge = request.isTooLarge || request.body.size() + *dataSize > longestBody;
            request.isTooLarge ? request.body.clear() : (void)request.body.append(data, *dataSize);
            *dataSize = 0;
            return MHD_YES;
        }
        return server.ask(exchange);
    }
    catch (const std::exception&)
    {
        return MHD_NO; // no memory: the connection goes
    }
}

MHD_Result Server::begin(MHD_Connection* connection, const char* url, const char* method, void** place)
{
    auto exchange = std::make_unique<std::shared_ptr<Exchange>>(std::make_shared<Exchange>());
    (*exchange)->connection = connection;
    Request& request = (*exchange)->request;
    request.method = method == std::string("HEAD") ? "GET" : method;
    request.path = url;
    request.host = headerOf(connection, MHD_HTTP_HEADER_HOST);
    request.origin = headerOf(connection, MHD_HTTP_HEADER_ORIGIN);
    request.contentType = headerOf(connection, MHD_HTTP_HEADER_CONTENT_TYPE);
    request.authorization = headerOf(connection, MHD_HTTP_HEADER_AUTHORIZATION);
    request.session = headerOf(connection, "korapanel", MHD_COOKIE_KIND);
    request.lastEventId = headerOf(connection, "Last-Event-ID");
    request.idempotencyKey = headerOf(connection, "Idempotency-Key");
    request.address = peerText(connection);
    request.localAddress = localText(connection);
    request.isEncrypted = !m_certificate.empty();
    *place = exchange.release();
    return MHD_YES;
}

MHD_Result Server::ask(const std::shared_ptr<Exchange>& exchange)
{
    if (!exchange->isAsked)
    {
        exchange->isAsked = true;
        m_handler(exchange->request, [exchange](Answer answer) {
            const std::lock_guard lock(exchange->mutex);
            exchange->answer = std::move(answer);
            if (std::exchange(exchange->isSuspended, false))
            {
                MHD_resume_connection(exchange->connection);
            }
        });
    }
    const std::lock_guard lock(exchange->mutex);
    if (exchange->answer)
    {
        return send(*exchange, *exchange->answer);
    }
    exchange->isSuspended = true;
    MHD_suspend_connection(exchange->connection);
    return MHD_YES;
}

MHD_Result Server::send(const Exchange& exchange, const Answer& wanted)
{
    MHD_Response* response = nullptr;
    Answer answer = wanted;
    if (answer.stream)
    {
        response = m_streams.open(exchange.connection, exchange.request.lastEventId, *answer.stream);
        if (response == nullptr)
        {
            answer = refusal(503, "too-many-streams", "Too many browsers follow the events.");
        }
        answer.headers["Connection"] = "close"; // there is no next request behind a stream
    }
    if (response == nullptr)
    {
        auto kept = std::make_unique<SharedText>(answer.body ? answer.body : std::make_shared<const std::string>());
        // The library does not write to it.
        void* const data = const_cast<char*>((*kept)->data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
        response = MHD_create_response_from_buffer_with_free_callback_cls(
            (*kept)->size(), data, [](void* text) { delete static_cast<SharedText*>(text); }, kept.get());
        if (response == nullptr)
        {
            return MHD_NO;
        }
        (void)kept.release(); // the response has it
    }
    for (const auto& [name, value] : usualHeaders)
    {
        (void)MHD_add_response_header(response, name, value);
    }
    (void)MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, answer.contentType.c_str());
    answer.headers.emplace("Cache-Control", "no-store");
    for (const auto& [name, value] : answer.headers)
    {
        (void)MHD_add_response_header(response, name.c_str(), value.c_str());
    }
    (answer.status < 400 ? doneCounter : answer.status < 500 ? refusedCounter : failedCounter).add();
    const MHD_Result result = MHD_queue_response(exchange.connection, answer.status, response);
    MHD_destroy_response(response);
    return result;
}

} // namespace korapanel
