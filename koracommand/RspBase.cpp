#include "koracommand/RspBase.h"

#include "koracommand/WireLayout.h"

#include <array>

RspBase::RspBase(const WireReader& request, std::uint32_t rspId) : m_buffer(std::make_unique<KoraMessageBuffer>())
{
    // Protocol type, sequence, length, message id and the tag that is echoed.
    const std::array<std::uint32_t, 5> words{wireLayout::routerControlProtocol, 0, 0, rspId,
                                             request.hostWordAt(wireLayout::header::sequence)};
    setWords(wireLayout::header::protocolType, words);
}

void RspBase::setSequence(std::uint32_t sequence)
{
    setWord(wireLayout::header::sequence, sequence);
}

const std::uint8_t* RspBase::getData() const
{
    return m_buffer->getData();
}

std::uint32_t RspBase::getLength() const
{
    return m_buffer->reader().hostWordAt(wireLayout::header::length);
}

void RspBase::setLength(std::uint32_t bytes)
{
    m_buffer->resize(bytes);
    setWord(wireLayout::header::length, bytes);
}

void RspBase::setWord(std::size_t offset, std::uint32_t word)
{
    setWords(offset, {&word, 1});
}

void RspBase::setWords(std::size_t offset, std::span<const std::uint32_t> words)
{
    const std::size_t end = offset + words.size_bytes();
    if (end > m_buffer->size())
    {
        m_buffer->resize(end);
    }
    m_buffer->writer().setHostWordsAt(offset, words);
}

ErrorRsp::ErrorRsp(const WireReader& request, std::uint32_t errorCode) : Pooled(request, wireLayout::rspId::error)
{
    setWord(wireLayout::errorRsp::code, errorCode);
    setLength(wireLayout::errorRsp::length);
}

RspInNetworkOrder::RspInNetworkOrder(const Rsp& hostOrder)
    : m_buffer(convertedCopy({hostOrder.getData(), hostOrder.getLength()}))
{}

void RspInNetworkOrder::setSequence(std::uint32_t sequence)
{
    m_buffer->writer().setBigEndianWordAt(wireLayout::header::sequence, sequence);
}

const std::uint8_t* RspInNetworkOrder::getData() const
{
    return m_buffer->getData();
}

std::uint32_t RspInNetworkOrder::getLength() const
{
    return m_buffer->reader().bigEndianWordAt(wireLayout::header::length);
}
