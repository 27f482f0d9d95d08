#include "koracommand/CmdBase.h"

#include "koracommand/KoraMessageBuffer.h"
#include "koracommand/ResultCode.h"
#include "koracommand/RspBase.h"
#include "koracommand/RspQueue.h"
#include "koracommand/WireLayout.h"
#include "runtime/apartment/Round.h"
#include "runtime/util/Log.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

using com::tallowcrest::apartment::Round;

namespace
{

/// Up to here a request is so little work that others may wait for its end: 16 takes and what asks for numbers only.
constexpr std::size_t longestBriefRequest =
    wireLayout::entryListReq::entries + 16 * wireLayout::entryListReq::entryBytes;

/// The part of the bytes that belongs to the message: no more than its header says.
std::span<const std::uint8_t> cutToLength(std::span<const std::uint8_t> message)
{
    const std::size_t length = WireReader(message).bigEndianWordAt(wireLayout::header::length);
    return message.first(std::min(length, message.size()));
}

} // namespace

CmdBase::CmdBase(std::span<const std::uint8_t> message, std::shared_ptr<RspQueue> rspQueue,
                 std::shared_ptr<ConnectionContext> context)
    : m_buffer(convertedCopy(cutToLength(message))), m_rspQueue(std::move(rspQueue)), m_context(std::move(context))
{
    setWaiter(m_rspQueue.get());
    if (m_buffer->size() <= longestBriefRequest)
    {
        setBrief();
    }
}

CmdBase::~CmdBase()
{
    if (!m_answered)
    {
        CmdBase::afterRound();
    }
}

void CmdBase::doIt()
{
    m_rsp = createRspOrError();
    if (Round::current() == nullptr)
    {
        CmdBase::afterRound();
    }
}

void CmdBase::afterRound()
{
    m_answered = true;
    deliver(std::move(m_rsp), *m_rspQueue, *m_context);
}

const std::uint8_t* CmdBase::getData() const
{
    return m_buffer->getData();
}

std::uint32_t CmdBase::getLength() const
{
    return request().hostWordAt(wireLayout::header::length);
}

std::uint32_t CmdBase::getMsgId() const
{
    return request().hostWordAt(wireLayout::header::msgId);
}

std::unique_ptr<Rsp> CmdBase::createRsp()
{
    return std::make_unique<ErrorRsp>(request(), resultCode::unknownMessage);
}

std::unique_ptr<Rsp> CmdBase::createRspOrError() noexcept
{
    try
    {
        return createRsp();
    }
    catch (const std::exception& error)
    {
        REPORT_ERROR_F(m_context->logger(), "Command failed: %s", error.what());
    }
    catch (...)
    {
        REPORT_ERROR_F(m_context->logger(), "Command failed: unknown exception");
    }
    return createErrorRsp();
}

std::unique_ptr<Rsp> CmdBase::createErrorRsp() noexcept
{
    try
    {
        return std::make_unique<ErrorRsp>(request(), resultCode::unknownMessage);
    }
    catch (const std::exception& error)
    {
        REPORT_ERROR_F(m_context->logger(), "No error response: %s", error.what());
        return nullptr;
    }
}
