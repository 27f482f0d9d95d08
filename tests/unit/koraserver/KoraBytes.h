#pragma once

#include "koracommand/WireLayout.h"

#include <sys/socket.h>

#include <cstdint>
#include <string>

/// Messages of the controller link as the strings that test sockets send and receive.
namespace korabytes
{

inline void appendWord(std::string& bytes, std::uint32_t word)
{
    for (const unsigned shift : {24U, 16U, 8U, 0U})
    {
        bytes += static_cast<char>(static_cast<std::uint8_t>(word >> shift));
    }
}

inline std::uint32_t wordAt(const std::string& bytes, std::size_t offset)
{
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < sizeof word; ++i)
    {
        word = word << 8U | static_cast<std::uint8_t>(bytes.at(offset + i));
    }
    return word;
}

/// A header with its length as given, whatever follows.
inline std::string header(std::uint32_t protocolType, std::uint32_t sequence, std::uint32_t length, std::uint32_t id)
{
    std::string bytes;
    appendWord(bytes, protocolType);
    appendWord(bytes, sequence);
    appendWord(bytes, length);
    appendWord(bytes, id);
    return bytes;
}

/// A whole message of `length` bytes whose payload bytes all have the value `fill`.
inline std::string message(std::uint32_t protocolType, std::uint32_t sequence, std::uint32_t id,
                           std::uint32_t length = wireLayout::header::bytes, char fill = '\x5a')
{
    return header(protocolType, sequence, length, id) + std::string(length - wireLayout::header::bytes, fill);
}

/// Keeps a client's buffers small, so that a flood that is not read soon fills the way.
inline void useSmallBuffers(int socket)
{
    const int size = 4096;
    static_cast<void>(::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &size, sizeof size));
    static_cast<void>(::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &size, sizeof size));
}

/// A router-control request.
inline std::string request(std::uint32_t tag, std::uint32_t id = wireLayout::msgId::take,
                           std::uint32_t length = wireLayout::header::bytes)
{
    return message(wireLayout::routerControlProtocol, tag, id, length);
}

} // namespace korabytes
