#include "koraclient/KoraClient.h"

#include "koraclient/Errors.h"
#include "koraclient/RequestEncoder.h"
#include "koracommand/WireLayout.h"

#include <array>
#include <utility>

namespace koraclient
{
namespace
{

namespace wire = wireLayout;

[[noreturn]] void throwFault(const Fault& fault)
{
    if (fault.isErrorResponse)
    {
        throw ErrorResponse(fault.errorCode);
    }
    throw ProtocolError(fault.text);
}

} // namespace

KoraClient::KoraClient(const std::string& host, std::uint16_t port, std::chrono::milliseconds timeout,
                       const com::tallowcrest::util::WakeEvent* interrupt)
    : m_timeout(timeout), m_socket(host, port, Clock::now() + timeout, interrupt)
{}

template <class Decode>
auto KoraClient::call(const std::vector<std::uint8_t>& bytes, std::uint32_t responseId, Decode decode)
{
    Expectation expected{.responseId = responseId, .tag = m_nextTag, .sequence = m_expectedSequence};
    const Message message = exchange(bytes);
    auto decoded = decode(ResponseDecoder(message, expected));
    if (!decoded.isOk())
    {
        throwFault(decoded.fault());
    }
    return std::move(decoded).value();
}

Message KoraClient::exchange(const std::vector<std::uint8_t>& bytes)
{
    const auto start = Clock::now();
    const auto deadline = start + m_timeout;
    ++m_nextTag;
    m_socket.sendAll(bytes, deadline);
    Message message = receiveUntil(deadline);
    if (m_observer)
    {
        m_observer(Clock::now() - start);
    }
    return message;
}

Message KoraClient::receiveUntil(Clock::time_point deadline)
{
    for (;;)
    {
        if (auto decoded = m_cutter.next())
        {
            if (!decoded->isOk())
            {
                throwFault(decoded->fault());
            }
            m_expectedSequence = decoded->value().sequence() + 1;
            return std::move(*decoded).value();
        }
        std::array<std::uint8_t, wire::maxMessageBytes> buffer{};
        const std::size_t received = m_socket.receiveSome(buffer, deadline);
        m_cutter.append(std::span(buffer).first(received));
    }
}

std::vector<std::uint32_t> KoraClient::take(const std::vector<TakeEntry>& entries)
{
    return call(RequestEncoder(m_nextTag).take(entries), wire::rspId::take,
                [&](const ResponseDecoder& decoder) { return decoder.takeResults(entries.size()); });
}

std::vector<std::uint32_t> KoraClient::coherentTake(const std::vector<TakeEntry>& entries)
{
    return call(RequestEncoder(m_nextTag).coherentTake(entries), wire::rspId::coherentTake,
                [&](const ResponseDecoder& decoder) { return decoder.takeResults(entries.size()); });
}

LprResult KoraClient::setOutputLpr(const std::vector<LprEntry>& entries)
{
    return call(RequestEncoder(m_nextTag).setOutputLpr(entries), wire::rspId::setOutputLpr,
                [&](const ResponseDecoder& decoder) { return decoder.lprResult(entries.size()); });
}

Tally KoraClient::tally(std::uint32_t level, std::uint32_t first, std::uint32_t count)
{
    return call(RequestEncoder(m_nextTag).tally(level, first, count), wire::rspId::tally,
                [&](const ResponseDecoder& decoder) { return decoder.tally(level, first, count); });
}

OutputStatusBlock KoraClient::outputStatus(std::uint32_t format, std::uint32_t level, std::uint32_t first,
                                           std::uint32_t count)
{
    return call(RequestEncoder(m_nextTag).outputStatus(format, level, first, count), wire::rspId::getOutputStatus,
                [&](const ResponseDecoder& decoder) { return decoder.outputStatus(format, level, first, count); });
}

OutputChanges KoraClient::outputChanges(std::uint32_t format, std::uint32_t level)
{
    return call(RequestEncoder(m_nextTag).outputChanges(format, level), wire::rspId::getOutputChanges,
                [&](const ResponseDecoder& decoder) { return decoder.outputChanges(format, level); });
}

PartitionInfo KoraClient::partitionInfo()
{
    return call(RequestEncoder(m_nextTag).partitionInfo(), wire::rspId::partitionInfo,
                [](const ResponseDecoder& decoder) { return decoder.partitionInfo(); });
}

std::uint32_t KoraClient::portPresent()
{
    return call(RequestEncoder(m_nextTag).portPresent(), wire::rspId::routerPortPresent,
                [](const ResponseDecoder& decoder) { return decoder.portPresent(); });
}

SystemStatus KoraClient::systemStatus(std::uint32_t format)
{
    return call(RequestEncoder(m_nextTag).systemStatus(format), wire::rspId::readySystemStatus,
                [&](const ResponseDecoder& decoder) { return decoder.systemStatus(format); });
}

CardPresence KoraClient::cardPresence(std::uint32_t word)
{
    return call(RequestEncoder(m_nextTag).cardPresence(word), wire::rspId::ccPresence,
                [&](const ResponseDecoder& decoder) { return decoder.cardPresence(word); });
}

Message KoraClient::request(std::uint32_t id, const std::vector<std::uint32_t>& payload)
{
    const Expectation expected{.responseId = 0, .tag = m_nextTag, .sequence = m_expectedSequence};
    Message message = exchange(RequestEncoder(m_nextTag).raw(id, payload));
    if (const auto fault = ResponseDecoder(message, expected).checkEnvelope())
    {
        throwFault(*fault);
    }
    return message;
}

void KoraClient::sendBytes(std::span<const std::uint8_t> bytes)
{
    m_socket.sendAll(bytes, Clock::now() + m_timeout);
}

Message KoraClient::receiveMessage()
{
    return receiveUntil(Clock::now() + m_timeout);
}

void KoraClient::waitForClose()
{
    const auto deadline = Clock::now() + m_timeout;
    std::array<std::uint8_t, wire::maxMessageBytes> buffer{};
    try
    {
        for (;;)
        {
            (void)m_socket.receiveSome(buffer, deadline);
        }
    }
    catch (const PeerClosed&)
    {
        // What was waited for.
    }
}

} // namespace koraclient
