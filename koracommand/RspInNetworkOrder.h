#pragma once

#include "koracommand/KoraMessageBuffer.h"
#include "koracommand/Rsp.h"
#include "runtime/util/Pooled.h"

#include <cstdint>
#include <memory>

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
