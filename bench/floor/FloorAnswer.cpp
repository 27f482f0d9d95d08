#include "bench/floor/Floor.h"
#include "koracommand/ResultCode.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"

#include <algorithm>

namespace bench
{
namespace
{

namespace wire = wireLayout;

std::uint32_t entryCount(const WireReader& request)
{
    return std::min(request.bigEndianWordAt(wire::entryListReq::count), wire::entryListReq::maxEntries);
}

void writeTargets(const WireReader& request, Writer<Output>& targets, std::uint32_t n)
{
    namespace req = wire::entryListReq;
    const bool isLpr = request.bigEndianWordAt(wire::header::msgId) == wire::msgId::setOutputLpr;
    for (std::uint32_t i = 0; i < n; ++i)
    {
        const std::size_t at = req::entries + i * req::entryBytes;
        const std::uint32_t first = request.bigEndianWordAt(at + req::entryArgument1);
        const std::uint32_t third = request.bigEndianWordAt(at + req::entryArgument3);
        BusOutput sample{};
        sample.macroXptOutput = isLpr ? first : third;
        sample.macroXptInput = request.bigEndianWordAt(at + req::entryArgument2);
        sample.lprId = isLpr ? third : first;
        targets.write(sample);
    }
}

std::uint32_t answerTake(const WireReader& request, const WireWriter& response, Writer<Output>& targets)
{
    namespace rsp = wire::takeRsp;
    const std::uint32_t n = entryCount(request);
    writeTargets(request, targets, n);
    response.setBigEndianWordAt(wire::header::msgId, wire::rspId::take);
    response.setBigEndianWordAt(rsp::count, n);
    for (std::uint32_t i = 0; i < n; ++i)
    {
        response.setBigEndianWordAt(rsp::results + i * wire::wordBytes, resultCode::done);
    }
    return rsp::length(n);
}

std::uint32_t answerLpr(const WireReader& request, const WireWriter& response, Writer<Output>& targets)
{
    namespace rsp = wire::setOutputLprRsp;
    const std::uint32_t n = entryCount(request);
    writeTargets(request, targets, n);
    response.setBigEndianWordAt(wire::header::msgId, wire::rspId::setOutputLpr);
    response.setBigEndianWordAt(rsp::status, rsp::statusDone);
    response.setBigEndianWordAt(rsp::count, n);
    for (std::uint32_t i = 0; i < n; ++i)
    {
        response.setBigEndianWordAt(rsp::results + i * wire::wordBytes, resultCode::done);
    }
    return rsp::length(n);
}

std::uint32_t answerTally(const WireReader& request, const WireWriter& response)
{
    namespace rsp = wire::tallyRsp;
    const std::uint32_t first = request.bigEndianWordAt(wire::tallyReq::firstOutput);
    const std::uint32_t n = std::min(request.bigEndianWordAt(wire::tallyReq::count), rsp::maxEntries);
    response.setBigEndianWordAt(wire::header::msgId, wire::rspId::tally);
    response.setBigEndianWordAt(rsp::level, request.bigEndianWordAt(wire::tallyReq::level));
    response.setBigEndianWordAt(rsp::firstOutput, first);
    response.setBigEndianWordAt(rsp::count, n);
    for (std::uint32_t i = 0; i < n; ++i)
    {
        response.setBigEndianWordAt(rsp::entries + i * rsp::entryBytes, resultCode::done);
        response.setBigEndianWordAt(rsp::entries + i * rsp::entryBytes + wire::wordBytes, first + i);
    }
    return rsp::length(n);
}

std::uint32_t answerStatus(const WireReader& request, const WireWriter& response)
{
    namespace rsp = wire::getOutputStatusRsp;
    const std::uint32_t format = request.bigEndianWordAt(wire::getOutputStatusReq::format);
    const std::uint32_t first = request.bigEndianWordAt(wire::getOutputStatusReq::firstOutput);
    const std::uint32_t n = std::min(request.bigEndianWordAt(wire::getOutputStatusReq::count), rsp::maxEntries(format));
    response.setBigEndianWordAt(wire::header::msgId, wire::rspId::getOutputStatus);
    response.setBigEndianWordAt(rsp::format, format);
    response.setBigEndianWordAt(rsp::level, request.bigEndianWordAt(wire::getOutputStatusReq::level));
    response.setBigEndianWordAt(rsp::firstOutput, first);
    response.setBigEndianWordAt(rsp::count, n);
    const std::size_t entryBytes = rsp::entryBytes(format);
    for (std::uint32_t i = 0; i < n; ++i)
    {
        const std::size_t at = rsp::entries + i * entryBytes;
        response.setBigEndianWordAt(at, resultCode::done);
        response.setBigEndianWordAt(at + wire::wordBytes, first + i);
        for (std::size_t word = 2 * wire::wordBytes; word < entryBytes; word += wire::wordBytes)
        {
            response.setBigEndianWordAt(at + word, 0);
        }
    }
    return rsp::length(format, n);
}

std::uint32_t answerChanges(const WireReader& request, const WireWriter& response)
{
    namespace rsp = wire::getOutputChangesRsp;
    const std::uint32_t format = request.bigEndianWordAt(wire::getOutputChangesReq::format);
    response.setBigEndianWordAt(wire::header::msgId, wire::rspId::getOutputChanges);
    response.setBigEndianWordAt(rsp::format, format);
    response.setBigEndianWordAt(rsp::level, request.bigEndianWordAt(wire::getOutputChangesReq::level));
    response.setBigEndianWordAt(rsp::count, 0);
    response.setBigEndianWordAt(rsp::more, 0);
    return rsp::length(format, 0);
}

std::uint32_t answerError(const WireWriter& response)
{
    response.setBigEndianWordAt(wire::header::msgId, wire::rspId::error);
    response.setBigEndianWordAt(wire::errorRsp::code, resultCode::unknownMessage);
    return wire::errorRsp::length;
}

std::uint32_t answerPayload(const WireReader& request, const WireWriter& response, Writer<Output>& targets)
{
    switch (request.bigEndianWordAt(wire::header::msgId))
    {
    case wire::msgId::take:
    case wire::msgId::coherentTake:
        return answerTake(request, response, targets);
    case wire::msgId::setOutputLpr:
        return answerLpr(request, response, targets);
    case wire::msgId::tally:
        return answerTally(request, response);
    case wire::msgId::getOutputStatus:
        return answerStatus(request, response);
    case wire::msgId::getOutputChanges:
        return answerChanges(request, response);
    default:
        return answerError(response);
    }
}

} // namespace

std::size_t answer(std::span<const std::uint8_t> request, std::span<std::uint8_t> response, Writer<Output>& targets)
{
    const WireReader reader(request);
    const WireWriter writer(response);
    const std::uint32_t length = answerPayload(reader, writer, targets);
    writer.setBigEndianWordAt(wire::header::protocolType, wire::routerControlProtocol);
    writer.setBigEndianWordAt(wire::header::length, length);
    writer.setBigEndianWordAt(wire::rsp::tag, reader.bigEndianWordAt(wire::header::sequence));
    return length;
}

} // namespace bench
