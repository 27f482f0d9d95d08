#include "bench/korabench/Controller.h"

#include "koraclient/Message.h"
#include "koraclient/RequestEncoder.h"
#include "koracommand/WireWords.h"

#include <stdexcept>
#include <utility>

namespace korabench
{

Controller::Controller(const Endpoint& endpoint, std::vector<Request> requests)
    : Client(endpoint), m_requests(std::move(requests)),
      // Tags of different connections differ, so that an answer to somebody else shows.
      m_tag(static_cast<std::uint32_t>(fd()) << 24U)
{
    if (m_requests.empty())
    {
        throw std::invalid_argument("a controller needs requests");
    }
}

void Controller::send()
{
    send(m_next);
    m_next = m_next + 1 == m_requests.size() ? 0 : m_next + 1;
}

void Controller::send(std::size_t index)
{
    m_last = index;
    m_held = 0;
    std::vector<std::uint8_t>& bytes = m_requests[index].bytes;
    koraclient::RequestEncoder::setTag(bytes, ++m_tag);
    sendAll(bytes);
}

bool Controller::receive()
{
    m_held += receiveSome(std::span(m_buffer).subspan(m_held));
    if (m_held < wireLayout::header::bytes)
    {
        return false;
    }
    const WireReader reader({m_buffer.data(), m_held});
    const std::uint32_t length = reader.bigEndianWordAt(wireLayout::header::length);
    if (length < wireLayout::header::bytes || length > m_buffer.size() || length < m_held)
    {
        fail("length word " + std::to_string(length) + " came with " + std::to_string(m_held) + " bytes");
    }
    if (m_held < length)
    {
        return false;
    }
    check();
    return true;
}

std::uint32_t Controller::lastEntries() const
{
    switch (lastCommand())
    {
    case Command::Take:
    case Command::CoherentTake:
    case Command::Protect:
    case Command::Release:
        return lastRequest().shape.entries;
    default:
        return 0;
    }
}

void Controller::check()
{
    const auto response = std::span<const std::uint8_t>(m_buffer).first(m_held);
    if (const auto fault = findFault(lastRequest(), m_tag, responseCount(), response))
    {
        fail("wrong response: " + *fault);
    }
    finish();
    if (lastCommand() == Command::Changes)
    {
        m_lastChanges = countChanges(response);
        m_changesSeen += m_lastChanges.entries;
    }
}

void Controller::probe()
{
    exchange(0);
}

void Controller::drainChanges()
{
    for (std::size_t i = 0; i < m_requests.size(); ++i)
    {
        if (m_requests[i].command != Command::Changes)
        {
            continue;
        }
        do
        {
            exchange(i);
        } while (m_lastChanges.entries != 0);
    }
}

void Controller::exchange(std::size_t index)
{
    send(index);
    while (!receive())
    {}
}

std::string Controller::described(const std::string& what) const
{
    return std::string(nameOf(lastCommand())) + ", tag " + koraclient::hexText(m_tag) + ", response " +
           std::to_string(responseCount()) + ": " + what;
}

} // namespace korabench
