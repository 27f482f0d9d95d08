#include "koracommand/CmdBase.h"

#include "koracommand/ErrorRsp.h"
#include "koracommand/MessageCopy.h"
#include "koracommand/ReportError.h"
#include "koracommand/ResultCode.h"
#include "koracommand/WireLayout.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace
{

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
{}

CmdBase::~CmdBase()
{
    if (!m_answered)
    {
        answer(nullptr);
    }
}

void CmdBase::doIt()
{
    answer(createRspOrError());
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
        reportError(m_context->logger(), "Command failed", error.what());
    }
    catch (...)
    {
        reportError(m_context->logger(), "Command failed", "unknown exception");
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
        reportError(m_context->logger(), "No error response", error.what());
        return nullptr;
    }
}

void CmdBase::answer(std::unique_ptr<Rsp> rsp) noexcept
{
    m_answered = true;
    try
    {
        m_rspQueue->push(std::move(rsp));
    }
    catch (const std::exception& error)
    {
        reportError(m_context->logger(), "Response lost", error.what());
    }
}
