#include "tests/fakes/FakeBridge.h"

#include "runtime/util/SystemError.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>

using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;
using koraclient::Message;

namespace
{

void require(bool isFine, const char* what)
{
    if (!isFine)
    {
        throw std::runtime_error(std::string("fake bridge: ") + what + ": " + systemErrorText());
    }
}

} // namespace

FakeBridge::FakeBridge(Handler handler, std::uint32_t address, std::uint16_t port)
    : m_handler(std::move(handler)), m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)),
      m_stop(::eventfd(0, EFD_CLOEXEC))
{
    require(m_listener.isOpen() && m_stop.isOpen(), "socket");
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = htonl(address);
    own.sin_port = htons(port);
    auto* const generic = reinterpret_cast<sockaddr*>(&own);
    socklen_t size = sizeof own;
    require(::bind(m_listener.get(), generic, size) == 0, "bind");
    require(::listen(m_listener.get(), 4) == 0, "listen");
    require(::getsockname(m_listener.get(), generic, &size) == 0, "getsockname");
    m_port = ntohs(own.sin_port);
    m_thread = std::thread([this] { serve(); });
}

FakeBridge::~FakeBridge()
{
    const std::uint64_t one = 1;
    (void)!::write(m_stop.get(), &one, sizeof one);
    m_thread.join();
}

std::vector<Message> FakeBridge::requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

void FakeBridge::serve()
{
    while (waitFor(m_listener.get()))
    {
        const UniqueFd client(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (client.isOpen())
        {
            serveClient(client.get());
        }
    }
}

void FakeBridge::serveClient(int client)
{
    std::uint32_t sequence = 0;
    for (;;)
    {
        std::vector<std::uint8_t> bytes;
        if (!readBytes(client, bytes, 16))
        {
            return;
        }
        const std::uint32_t length = Message(bytes).length();
        if (length < 16 || length > 8192 || !readBytes(client, bytes, length - 16))
        {
            return;
        }
        const Message request(bytes);
        {
            const std::lock_guard lock(m_mutex);
            m_requests.push_back(request);
        }
        const FakeReply reply = m_handler(request, sequence++);
        if (!reply.bytes.empty())
        {
            (void)::send(client, reply.bytes.data(), reply.bytes.size(), MSG_NOSIGNAL);
        }
        if (reply.isClosing)
        {
            return;
        }
    }
}

bool FakeBridge::readBytes(int client, std::vector<std::uint8_t>& bytes, std::size_t count) const
{
    const std::size_t wanted = bytes.size() + count;
    while (bytes.size() < wanted)
    {
        if (!waitFor(client))
        {
            return false;
        }
        std::array<std::uint8_t, 8192> buffer{};
        const ssize_t received = ::recv(client, buffer.data(), std::min(buffer.size(), wanted - bytes.size()), 0);
        if (received <= 0)
        {
            return false;
        }
        bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + received);
    }
    return true;
}

bool FakeBridge::waitFor(int fd) const
{
    std::array<pollfd, 2> entries{pollfd{fd, POLLIN, 0}, pollfd{m_stop.get(), POLLIN, 0}};
    while (::poll(entries.data(), entries.size(), -1) < 0)
    {}
    return entries[1].revents == 0;
}

std::vector<std::uint8_t> bytesOf(const std::vector<std::uint32_t>& words)
{
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t word : words)
    {
        for (const unsigned shift : {24U, 16U, 8U, 0U})
        {
            bytes.push_back(static_cast<std::uint8_t>(word >> shift));
        }
    }
    return bytes;
}

std::vector<std::uint8_t> responseTo(const Message& request, std::uint32_t sequence, std::uint32_t id,
                                     const std::vector<std::uint32_t>& words)
{
    std::vector<std::uint32_t> all{12, sequence, static_cast<std::uint32_t>(20 + 4 * words.size()), id,
                                   request.sequence()};
    all.insert(all.end(), words.begin(), words.end());
    return bytesOf(all);
}
