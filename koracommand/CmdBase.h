#pragma once

#include "koracommand/ConnectionContext.h"
#include "koracommand/KoraMessageBuffer.h"
#include "koracommand/Rsp.h"
#include "koracommand/RspQueue.h"
#include "koracommand/WireWords.h"
#include "runtime/apartment/DoItEvent.h"
#include "runtime/util/Pooled.h"

#include <cstdint>
#include <memory>
#include <span>

/// A received request on its way to the bridge apartment. The plain class answers with an error; each command overrides
/// `createRsp`. Made on the connection thread, run and deleted on the apartment. It puts exactly one entry into the
/// response queue whatever happens: the response; an error response when `createRsp` throws; nothing but an empty
/// pointer when it is deleted without having run or there is no memory left.
class CmdBase : public com::tallowcrest::util::Pooled<CmdBase, com::tallowcrest::apartment::DoItEvent>
{
public:
    static constexpr const char* poolName = "CmdBase";

    /// `message` is in network order; its whole words are copied in host order, as far as the header's length and the
    /// bytes given go. Throws std::bad_alloc.
    CmdBase(std::span<const std::uint8_t> message, std::shared_ptr<RspQueue> rspQueue,
            std::shared_ptr<ConnectionContext> context);
    ~CmdBase() override;

    /// Makes the response, and hands it over at once if no round is under way. Lets no exception out.
    void doIt() override;
    /// Hands the response over: only now is what the command wrote on the bus, and the controller may hear of it. Lets
    /// no exception out.
    void afterRound() override;
    /// The host-order message.
    virtual const std::uint8_t* getData() const;
    virtual std::uint32_t getLength() const;
    virtual std::uint32_t getMsgId() const;
    virtual std::unique_ptr<Rsp> createRsp();

protected:
    /// The host-order words of the request.
    WireReader request() const { return m_buffer->reader(); }
    ConnectionContext& context() { return *m_context; }

private:
    std::unique_ptr<Rsp> createRspOrError() noexcept;
    std::unique_ptr<Rsp> createErrorRsp() noexcept;

    std::unique_ptr<KoraMessageBuffer> m_buffer;
    std::unique_ptr<Rsp> m_rsp;
    std::shared_ptr<RspQueue> m_rspQueue;
    std::shared_ptr<ConnectionContext> m_context;
    bool m_answered = false;
};
