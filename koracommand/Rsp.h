#pragma once

#include <cstdint>

/// A response on its way to a controller. Owned by one holder at a time.
class Rsp
{
public:
    Rsp() = default;
    virtual ~Rsp() = default;
    Rsp(const Rsp&) = delete;
    Rsp& operator=(const Rsp&) = delete;

    /// Stores the connection's response sequence into header word 1.
    virtual void setSequence(std::uint32_t sequence) = 0;
    /// The message's first byte. Host or network order is the implementation's.
    virtual const std::uint8_t* getData() const = 0;
    /// Total length in bytes, header included.
    virtual std::uint32_t getLength() const = 0;
};
