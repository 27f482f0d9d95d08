#include "koracommand/RspInNetworkOrder.h"

#include "koracommand/MessageCopy.h"
#include "koracommand/WireLayout.h"

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
