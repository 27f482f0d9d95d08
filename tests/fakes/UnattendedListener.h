#pragma once

#include "runtime/util/UniqueFd.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>

/// A port with room for one connection, which nobody accepts by itself.
struct UnattendedListener
{
    UnattendedListener()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
        EXPECT_EQ(::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
        EXPECT_EQ(::listen(fd.get(), 0), 0);
        port = ntohs(address.sin_port);
    }

    com::tallowcrest::util::UniqueFd accept() const
    {
        return com::tallowcrest::util::UniqueFd(::accept4(fd.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }

    const com::tallowcrest::util::UniqueFd fd{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::uint16_t port = 0;
};

/// Reads what has arrived from a client that is gone. Whether it took back what had not, instead of an orderly end,
/// before which the system sends again what is lost.
inline bool isTakenBack(const com::tallowcrest::util::UniqueFd& client)
{
    std::array<char, 256> bytes{};
    ssize_t received = 0;
    do
    {
        received = ::recv(client.get(), bytes.data(), bytes.size(), 0);
    } while (received > 0);
    return received == -1 && errno == ECONNRESET;
}
