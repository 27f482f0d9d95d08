#pragma once

#include "koracommand/KoraMessageBuffer.h"
#include "koracommand/Rsp.h"
#include "koracommand/WireWords.h"
#include "runtime/util/Pooled.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

/// A response in host order, as the classes derived from it build it. Built on the bridge apartment, then owned by one
/// holder at a time. Throws std::bad_alloc when there is no memory for its buffer.
class RspBase : public Rsp
{
public:
    /// Writes the header (length 0 for now) and echoes the tag of `request`, the host-order words of the command.
    RspBase(const WireReader& request, std::uint32_t rspId);

    void setSequence(std::uint32_t sequence) override;
    const std::uint8_t* getData() const override;
    std::uint32_t getLength() const override;

protected:
    /// Sets the length, header included; words up to there that were never written are 0.
    void setLength(std::uint32_t bytes);
    /// Writes a payload word.
    void setWord(std::size_t offset, std::uint32_t word);
    /// Writes payload words, one after the other.
    void setWords(std::size_t offset, std::span<const std::uint32_t> words);

private:
    std::unique_ptr<KoraMessageBuffer> m_buffer;
};

/// Answers a request that no command handles, or whose command failed. The id says error; the request's id is not kept.
class ErrorRsp final : public com::tallowcrest::util::Pooled<ErrorRsp, RspBase>
{
public:
    static constexpr const char* poolName = "ErrorRsp";

    ErrorRsp(const WireReader& request, std::uint32_t errorCode);
};

/// The network-order copy of a response, ready to be sent. Made and owned on the connection thread. Throws
/// std::bad_alloc when there is no memory for its buffer.
class RspInNetworkOrder final : public com::tallowcrest::util::Pooled<RspInNetworkOrder, Rsp>
{
public:
    static constexpr const char* poolName = "RspInNetworkOrder";

    /// Copies the whole words of a host-order response.
    explicit RspInNetworkOrder(const Rsp& hostOrder);

    void setSequence(std::uint32_t sequence) override;
    const std::uint8_t* getData() const override;
    std::uint32_t getLength() const override;

private:
    std::unique_ptr<KoraMessageBuffer> m_buffer;
};
