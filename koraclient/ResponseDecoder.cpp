#include "koraclient/ResponseDecoder.h"

#include "koraclient/Message.h"
#include "koracommand/WireLayout.h"

#include <algorithm>

namespace koraclient
{
namespace
{

namespace wire = wireLayout;

Fault unexpected(const std::string& what, const std::string& came, const std::string& wanted)
{
    return Fault{.text = "unexpected response: " + what + " " + came + " came, " + wanted + " was expected"};
}

/// The first of some checks that found a fault. All checks are harmless on any message, so that their order only
/// decides which fault is reported.
std::optional<Fault> firstOf(std::initializer_list<std::optional<Fault>> checks)
{
    const auto found = std::find_if(checks.begin(), checks.end(), [](const auto& check) { return check.has_value(); });
    return found == checks.end() ? std::nullopt : *found;
}

} // namespace

std::optional<Fault> ResponseDecoder::checkEnvelope() const
{
    if (m_message.size() < wire::rsp::payload)
    {
        return unexpected("a length of", std::to_string(m_message.size()), "at least 20");
    }
    if (word(wire::header::length) != m_message.size())
    {
        return unexpected("the length word", std::to_string(word(wire::header::length)),
                          std::to_string(m_message.size()));
    }
    if (word(wire::header::protocolType) != wire::routerControlProtocol)
    {
        return unexpected("protocol type", std::to_string(word(wire::header::protocolType)), "12");
    }
    if (word(wire::header::sequence) != m_expected.sequence)
    {
        return unexpected("sequence", std::to_string(word(wire::header::sequence)),
                          std::to_string(m_expected.sequence));
    }
    if (word(wire::rsp::tag) != m_expected.tag)
    {
        return unexpected("tag", hexText(word(wire::rsp::tag)), hexText(m_expected.tag));
    }
    return std::nullopt;
}

std::optional<Fault> ResponseDecoder::checkHeader() const
{
    if (auto fault = checkEnvelope())
    {
        return fault;
    }
    if (word(wire::header::msgId) == wire::rspId::error && m_message.size() == wire::errorRsp::length)
    {
        const std::uint32_t code = word(wire::errorRsp::code);
        return Fault{.text = "error code " + std::to_string(code), .isErrorResponse = true, .errorCode = code};
    }
    if (word(wire::header::msgId) != m_expected.responseId)
    {
        return unexpected("response id", hexText(word(wire::header::msgId)), hexText(m_expected.responseId));
    }
    return std::nullopt;
}

std::optional<Fault> ResponseDecoder::checkStart(std::size_t bytes) const
{
    if (auto fault = checkHeader())
    {
        return fault;
    }
    if (m_message.size() < bytes)
    {
        return unexpected("a length of", std::to_string(m_message.size()), "at least " + std::to_string(bytes));
    }
    return std::nullopt;
}

std::optional<Fault> ResponseDecoder::checkLength(std::size_t wanted) const
{
    if (m_message.size() != wanted)
    {
        return unexpected("a length of", std::to_string(m_message.size()), std::to_string(wanted));
    }
    return std::nullopt;
}

std::optional<Fault> ResponseDecoder::checkEcho(const char* what, std::size_t offset, std::uint32_t asked) const
{
    if (word(offset) != asked)
    {
        return unexpected(what, std::to_string(word(offset)), std::to_string(asked));
    }
    return std::nullopt;
}

std::optional<Fault> ResponseDecoder::checkCount(std::uint32_t count, std::size_t least, std::size_t most)
{
    if (count < least || count > most)
    {
        return unexpected("a count of", std::to_string(count),
                          least == most ? std::to_string(most) : std::to_string(least) + " to " + std::to_string(most));
    }
    return std::nullopt;
}

std::vector<std::uint32_t> ResponseDecoder::wordsFrom(std::size_t offset, std::size_t count) const
{
    std::vector<std::uint32_t> words(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        words[i] = word(offset + i * wire::wordBytes);
    }
    return words;
}

Decoded<std::vector<std::uint32_t>> ResponseDecoder::takeResults(std::size_t asked) const
{
    const std::uint32_t count = word(wire::takeRsp::count);
    const std::size_t most = std::min<std::size_t>(asked, wire::takeRsp::maxEntries);
    if (auto fault = firstOf({checkStart(wire::takeRsp::results), checkCount(count, most, most),
                              checkLength(wire::takeRsp::length(count))}))
    {
        return *std::move(fault);
    }
    return wordsFrom(wire::takeRsp::results, count);
}

Decoded<LprResult> ResponseDecoder::lprResult(std::size_t asked) const
{
    const std::uint32_t count = word(wire::setOutputLprRsp::count);
    const std::size_t most = std::min<std::size_t>(asked, wire::setOutputLprRsp::maxEntries);
    if (auto fault = firstOf({checkStart(wire::setOutputLprRsp::results), checkCount(count, most, most),
                              checkLength(wire::setOutputLprRsp::length(count))}))
    {
        return *std::move(fault);
    }
    LprResult result{.status = word(wire::setOutputLprRsp::status),
                     .results = wordsFrom(wire::setOutputLprRsp::results, count)};
    const bool allDone = std::all_of(result.results.begin(), result.results.end(), [](auto code) { return code == 0; });
    const std::uint32_t wanted = allDone ? wire::setOutputLprRsp::statusDone : wire::setOutputLprRsp::statusFailed;
    if (result.status != wanted)
    {
        return unexpected("status", hexText(result.status), hexText(wanted));
    }
    return result;
}

Decoded<Tally> ResponseDecoder::tally(std::uint32_t level, std::uint32_t first, std::uint32_t count) const
{
    const std::uint32_t answered = word(wire::tallyRsp::count);
    if (auto fault = firstOf({checkStart(wire::tallyRsp::entries), checkEcho("level", wire::tallyRsp::level, level),
                              checkEcho("first output", wire::tallyRsp::firstOutput, first),
                              checkCount(answered, 0, std::min(count, wire::tallyRsp::maxEntries)),
                              checkLength(wire::tallyRsp::length(answered))}))
    {
        return *std::move(fault);
    }
    Tally result{.level = level, .first = first, .entries = {}};
    for (std::size_t i = 0; i < answered; ++i)
    {
        const auto words = wordsFrom(wire::tallyRsp::entries + i * wire::tallyRsp::entryBytes, 2);
        result.entries.push_back(TallyEntry{.result = words[0], .input = words[1]});
    }
    return result;
}

Decoded<OutputStatusBlock> ResponseDecoder::outputStatus(std::uint32_t format, std::uint32_t level, std::uint32_t first,
                                                         std::uint32_t count) const
{
    namespace rsp = wire::getOutputStatusRsp;
    const std::uint32_t answered = word(rsp::count);
    if (auto fault = firstOf({checkStart(rsp::entries), checkEcho("format", rsp::format, format),
                              checkEcho("level", rsp::level, level), checkEcho("first output", rsp::firstOutput, first),
                              checkCount(answered, 0, std::min(count, rsp::maxEntries(format))),
                              checkLength(rsp::length(format, answered))}))
    {
        return *std::move(fault);
    }
    OutputStatusBlock result{.format = format, .level = level, .first = first, .entries = {}};
    const std::size_t entryBytes = rsp::entryBytes(format);
    for (std::size_t i = 0; i < answered; ++i)
    {
        auto words = wordsFrom(rsp::entries + i * entryBytes, entryBytes / wire::wordBytes);
        words.resize(4);
        result.entries.push_back(
            OutputStatus{.result = words[0], .input = words[1], .lprState = words[2], .lprId = words[3]});
    }
    return result;
}

Decoded<OutputChanges> ResponseDecoder::outputChanges(std::uint32_t format, std::uint32_t level) const
{
    namespace rsp = wire::getOutputChangesRsp;
    const std::uint32_t count = word(rsp::count);
    if (auto fault = firstOf({checkStart(rsp::entries), checkEcho("format", rsp::format, format),
                              checkEcho("level", rsp::level, level), checkCount(count, 0, rsp::maxEntries(format)),
                              checkLength(rsp::length(format, count))}))
    {
        return *std::move(fault);
    }
    const std::uint32_t more = word(rsp::more);
    const std::uint32_t wantedMore = count == rsp::maxEntries(format) ? 1 : 0;
    if (more != wantedMore)
    {
        return unexpected("a more flag of", std::to_string(more),
                          std::to_string(wantedMore) + " for " + std::to_string(count) + " entries");
    }
    OutputChanges result{.format = format, .level = level, .more = more == 1, .entries = {}};
    const std::size_t entryBytes = rsp::entryBytes(format);
    for (std::size_t i = 0; i < count; ++i)
    {
        auto words = wordsFrom(rsp::entries + i * entryBytes, entryBytes / wire::wordBytes);
        words.resize(5);
        result.entries.push_back(OutputChange{
            .result = words[0], .output = words[1], .input = words[2], .lprState = words[3], .lprId = words[4]});
    }
    return result;
}

Decoded<PartitionInfo> ResponseDecoder::partitionInfo() const
{
    if (auto fault = firstOf({checkStart(0), checkLength(wire::partitionInfoRsp::length)}))
    {
        return *std::move(fault);
    }
    PartitionInfo info{};
    const auto words = wordsFrom(wire::partitionInfoRsp::words, info.size());
    std::copy(words.begin(), words.end(), info.begin());
    return info;
}

Decoded<std::uint32_t> ResponseDecoder::portPresent() const
{
    if (auto fault = firstOf({checkStart(0), checkLength(wire::routerPortPresentRsp::length)}))
    {
        return *std::move(fault);
    }
    return word(wire::routerPortPresentRsp::result);
}

Decoded<SystemStatus> ResponseDecoder::systemStatus(std::uint32_t format) const
{
    namespace rsp = wire::readySystemStatusRsp;
    const bool isOffered = format == 0 || format == 2 || format == 4 || format == 6;
    const std::uint32_t wanted = isOffered ? format : rsp::fallbackFormat;
    const std::uint32_t length = wanted == 0   ? rsp::format0Length
                                 : wanted == 2 ? rsp::format2Length
                                 : wanted == 4 ? rsp::format4Length
                                               : rsp::format6Length;
    if (auto fault = firstOf({checkStart(rsp::words), checkEcho("format", rsp::format, wanted), checkLength(length)}))
    {
        return *std::move(fault);
    }
    return SystemStatus{.format = wanted, .words = wordsFrom(rsp::words, (length - rsp::words) / wire::wordBytes)};
}

Decoded<CardPresence> ResponseDecoder::cardPresence(std::uint32_t word) const
{
    namespace rsp = wire::ccPresenceRsp;
    if (auto fault =
            firstOf({checkStart(rsp::reserved1), checkEcho("card", rsp::card, word), checkLength(rsp::length)}))
    {
        return *std::move(fault);
    }
    CardPresence presence{.word = word, .words = {}};
    const auto words = wordsFrom(rsp::reserved1, presence.words.size());
    std::copy(words.begin(), words.end(), presence.words.begin());
    return presence;
}

} // namespace koraclient
