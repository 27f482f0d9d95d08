#include "bench/korabench/ResponseCheck.h"

#include "koraclient/Message.h"
#include "koraclient/ResponseDecoder.h"
#include "koracommand/ResultCode.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"

#include <array>

namespace korabench
{
namespace
{

namespace wire = wireLayout;
using Fault = std::optional<std::string>;

std::string mismatch(const char* what, std::uint32_t came, std::uint32_t wanted)
{
    return std::string(what) + " " + koraclient::hexText(came) + " came, " + koraclient::hexText(wanted) +
           " was expected";
}

/// Compares words of one message; keeps the first that differs.
class Words
{
public:
    explicit Words(std::span<const std::uint8_t> message) : m_reader(message) {}

    std::uint32_t at(std::size_t offset) const { return m_reader.bigEndianWordAt(offset); }

    Words& expect(const char* what, std::size_t offset, std::uint32_t wanted)
    {
        return expectValue(what, at(offset), wanted);
    }
    Words& expectLength(std::uint32_t wanted)
    {
        return expectValue("length", static_cast<std::uint32_t>(m_reader.size()), wanted);
    }
    /// Words at `offset`, `offset` + `stride`, ... `count` times.
    Words& expectAll(const char* what, std::size_t offset, std::size_t stride, std::uint32_t count,
                     std::uint32_t wanted)
    {
        for (std::uint32_t i = 0; i < count && !m_fault; ++i)
        {
            expect(what, offset + i * stride, wanted);
        }
        return *this;
    }
    Words& expectValue(const char* what, std::uint32_t came, std::uint32_t wanted)
    {
        if (came != wanted && !m_fault)
        {
            m_fault = mismatch(what, came, wanted);
        }
        return *this;
    }

    bool isRight() const { return !m_fault; }
    const Fault& fault() const { return m_fault; }

private:
    WireReader m_reader;
    Fault m_fault;
};

Fault checkTake(const Request& request, Words& words)
{
    const std::uint32_t n = request.shape.entries;
    words.expectLength(wire::takeRsp::length(n)).expect("entries", wire::takeRsp::count, n);
    words.expectAll("result", wire::takeRsp::results, wire::wordBytes, n, resultCode::done);
    return words.fault();
}

Fault checkLpr(const Request& request, Words& words)
{
    namespace rsp = wire::setOutputLprRsp;
    const std::uint32_t n = request.shape.entries;
    words.expectLength(rsp::length(n)).expect("status", rsp::status, rsp::statusDone).expect("entries", rsp::count, n);
    words.expectAll("result", rsp::results, wire::wordBytes, n, resultCode::done);
    return words.fault();
}

/// Entries of result and input, from the shape's first output on.
Fault checkRoutes(const RequestShape& shape, Words& words, std::size_t entries, std::size_t entryBytes)
{
    words.expectAll("result", entries, entryBytes, shape.count, resultCode::done);
    for (std::uint32_t i = 0; shape.isIdentity && i < shape.count && words.isRight(); ++i)
    {
        words.expect("input", entries + i * entryBytes + wire::wordBytes, shape.firstOutput + i);
    }
    return words.fault();
}

Fault checkTally(const Request& request, Words& words)
{
    namespace rsp = wire::tallyRsp;
    const RequestShape& shape = request.shape;
    words.expectLength(rsp::length(shape.count)).expect("level", rsp::level, shape.level);
    words.expect("first output", rsp::firstOutput, shape.firstOutput).expect("entries", rsp::count, shape.count);
    return words.isRight() ? checkRoutes(shape, words, rsp::entries, rsp::entryBytes) : words.fault();
}

Fault checkStatus(const Request& request, Words& words)
{
    namespace rsp = wire::getOutputStatusRsp;
    const RequestShape& shape = request.shape;
    words.expectLength(rsp::length(shape.format, shape.count)).expect("format", rsp::format, shape.format);
    words.expect("level", rsp::level, shape.level).expect("first output", rsp::firstOutput, shape.firstOutput);
    words.expect("entries", rsp::count, shape.count);
    return words.isRight() ? checkRoutes(shape, words, rsp::entries, rsp::entryBytes(shape.format)) : words.fault();
}

Fault checkChanges(const Request& request, Words& words)
{
    namespace rsp = wire::getOutputChangesRsp;
    const RequestShape& shape = request.shape;
    const std::uint32_t most = rsp::maxEntries(shape.format);
    const std::uint32_t n = words.at(rsp::count);
    if (n > most)
    {
        return "entries " + std::to_string(n) + " came, at most " + std::to_string(most) + " were expected";
    }
    words.expectLength(rsp::length(shape.format, n)).expect("format", rsp::format, shape.format);
    words.expect("level", rsp::level, shape.level).expect("more", rsp::more, n == most ? 1 : 0);
    const std::size_t entryBytes = rsp::entryBytes(shape.format);
    std::uint32_t least = shape.firstOutput;
    for (std::uint32_t i = 0; i < n && words.isRight(); ++i)
    {
        const std::size_t at = rsp::entries + i * entryBytes;
        const std::uint32_t output = words.at(at + wire::wordBytes);
        if (output < least || output - shape.firstOutput >= shape.outputs)
        {
            return "output " + std::to_string(output) + " came, one of the level from " + std::to_string(least) +
                   " on was expected";
        }
        least = output + 1;
        words.expect("result", at, resultCode::done);
        if (shape.isIdentity)
        {
            words.expect("input", at + 2 * wire::wordBytes, output);
        }
    }
    return words.fault();
}

/// The commands that nobody sends often: decoded as koractl decodes them.
Fault checkRare(const Request& request, const koraclient::ResponseDecoder& decoder,
                std::span<const std::uint8_t> response)
{
    const auto textOf = [](const auto& decoded) { return decoded.isOk() ? Fault() : Fault(decoded.fault().text); };
    switch (request.command)
    {
    case Command::Partition: {
        const auto decoded = decoder.partitionInfo();
        if (decoded.isOk() && decoded.value() != wire::partitionInfoRsp::fixedWords)
        {
            return "another partition info came";
        }
        return textOf(decoded);
    }
    case Command::Port: {
        const auto decoded = decoder.portPresent();
        return decoded.isOk() && decoded.value() != resultCode::done ? "another port presence came" : textOf(decoded);
    }
    case Command::System:
        return textOf(decoder.systemStatus(request.shape.format));
    case Command::Card: {
        constexpr std::array<std::uint32_t, 4> present{0, 1, 0, 0};
        const auto decoded = decoder.cardPresence(WireReader(request.bytes).bigEndianWordAt(wire::ccPresenceReq::card));
        return decoded.isOk() && decoded.value().words != present ? "another card presence came" : textOf(decoded);
    }
    default:
        break;
    }
    Words words(response);
    words.expectLength(wire::errorRsp::length).expect("code", wire::errorRsp::code, resultCode::unknownMessage);
    return words.fault();
}

} // namespace

std::optional<std::string> findFault(const Request& request, std::uint32_t tag, std::uint32_t sequence,
                                     std::span<const std::uint8_t> response)
{
    const koraclient::ResponseDecoder decoder(response,
                                              {.responseId = request.responseId, .tag = tag, .sequence = sequence});
    const auto fault = decoder.checkHeader();
    if (fault && !(fault->isErrorResponse && request.responseId == wire::rspId::error))
    {
        return fault->text;
    }
    Words words(response);
    switch (request.command)
    {
    case Command::Take:
    case Command::CoherentTake:
        return checkTake(request, words);
    case Command::Protect:
    case Command::Release:
        return checkLpr(request, words);
    case Command::Tally:
        return checkTally(request, words);
    case Command::Status:
        return checkStatus(request, words);
    case Command::Changes:
        return checkChanges(request, words);
    default:
        return checkRare(request, decoder, response);
    }
}

ChangesCount countChanges(std::span<const std::uint8_t> response)
{
    const WireReader reader(response);
    return {.entries = reader.bigEndianWordAt(wire::getOutputChangesRsp::count),
            .isMore = reader.bigEndianWordAt(wire::getOutputChangesRsp::more) != 0};
}

} // namespace korabench
