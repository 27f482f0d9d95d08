// Fuzzes what a bridge, or whoever holds its port, can send to koractl: any bytes. What decodes must be exactly what
// was received: each decoded response is encoded again and compared byte by byte.

#include "koraclient/Message.h"
#include "koraclient/ResponseDecoder.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/Segments.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace
{

using fuzz::require;
using Words = std::vector<std::uint32_t>;

/// What was asked: the first bytes of the input.
struct Question
{
    std::uint8_t command = 0;
    std::uint32_t format = 0;
    std::uint32_t level = 0;
    std::uint32_t first = 0;
    std::uint32_t count = 0;
};

constexpr std::size_t questionBytes = 8;

/// Small numbers mostly, so that questions and answers meet.
Question questionOf(std::span<const std::uint8_t> bytes)
{
    return {.command = bytes[1],
            .format = bytes[2],
            .level = bytes[3],
            .first = bytes[4],
            .count = std::uint32_t{bytes[5]} << 8U | bytes[6]};
}

koraclient::Expectation expectationOf(const koraclient::Message& message, const Question& question,
                                      std::uint32_t responseId)
{
    // Tag and sequence as received, or else nearly no message would pass; in one case of 16 as asked.
    const bool isStrict = (question.command & 0xf0U) == 0xf0U;
    return {.responseId = responseId,
            .tag = isStrict ? question.first : message.tag(),
            .sequence = isStrict ? question.count : message.sequence()};
}

void requireSame(const koraclient::Message& message, const Words& payload)
{
    require(message.size() == (payload.size() + 5) * wireLayout::wordBytes, "a decoded response has its whole length");
    for (std::size_t i = 0; i < payload.size(); ++i)
    {
        require(message.word((i + 5) * wireLayout::wordBytes) == payload[i], "a decoded value is what was received");
    }
}

void requireFault(const koraclient::Message& message, const koraclient::Fault& fault)
{
    require(!fault.text.empty() && fault.text.size() < 200, "a fault says what came");
    if (fault.isErrorResponse)
    {
        requireSame(message, {fault.errorCode});
        require(message.id() == wireLayout::rspId::error, "an error response has its id");
    }
}

template <typename T, typename Encode>
void check(const koraclient::Message& message, const koraclient::Decoded<T>& decoded, Encode encode)
{
    if (!decoded.isOk())
    {
        requireFault(message, decoded.fault());
        return;
    }
    require(message.length() == message.size() && message.protocolType() == wireLayout::routerControlProtocol,
            "what decodes has a proper header");
    requireSame(message, encode(decoded.value()));
}

void decodeTake(const koraclient::Message& message, const Question& question)
{
    const koraclient::ResponseDecoder sut(message, expectationOf(message, question, wireLayout::rspId::take));
    check(message, sut.takeResults(question.count), [](const Words& results) {
        Words words{static_cast<std::uint32_t>(results.size())};
        words.insert(words.end(), results.begin(), results.end());
        return words;
    });
}

void decodeLpr(const koraclient::Message& message, const Question& question)
{
    const koraclient::ResponseDecoder sut(message, expectationOf(message, question, wireLayout::rspId::setOutputLpr));
    check(message, sut.lprResult(question.count), [](const koraclient::LprResult& result) {
        Words words{result.status, static_cast<std::uint32_t>(result.results.size())};
        words.insert(words.end(), result.results.begin(), result.results.end());
        return words;
    });
}

void decodeTally(const koraclient::Message& message, const Question& question)
{
    const koraclient::ResponseDecoder sut(message, expectationOf(message, question, wireLayout::rspId::tally));
    check(message, sut.tally(question.level, question.first, question.count), [&](const koraclient::Tally& tally) {
        require(tally.level == question.level && tally.first == question.first, "a tally is the one asked for");
        require(tally.entries.size() <= question.count, "a tally has no more than was asked for");
        Words words{tally.level, tally.first, static_cast<std::uint32_t>(tally.entries.size())};
        for (const auto& entry : tally.entries)
        {
            words.insert(words.end(), {entry.result, entry.input});
        }
        return words;
    });
}

void decodeStatus(const koraclient::Message& message, const Question& question)
{
    const koraclient::ResponseDecoder sut(message,
                                          expectationOf(message, question, wireLayout::rspId::getOutputStatus));
    const auto decoded = sut.outputStatus(question.format, question.level, question.first, question.count);
    check(message, decoded, [&](const koraclient::OutputStatusBlock& block) {
        require(block.entries.size() <= question.count, "a status has no more than was asked for");
        Words words{block.format, block.level, block.first, static_cast<std::uint32_t>(block.entries.size())};
        for (const auto& entry : block.entries)
        {
            words.insert(words.end(), {entry.result, entry.input});
            if (block.format != 1)
            {
                words.insert(words.end(), {entry.lprState, entry.lprId});
            }
        }
        return words;
    });
}

void decodeChanges(const koraclient::Message& message, const Question& question)
{
    const koraclient::ResponseDecoder sut(message,
                                          expectationOf(message, question, wireLayout::rspId::getOutputChanges));
    check(message, sut.outputChanges(question.format, question.level), [](const koraclient::OutputChanges& changes) {
        Words words{changes.format, changes.level, static_cast<std::uint32_t>(changes.entries.size()),
                    changes.more ? 1U : 0U};
        for (const auto& entry : changes.entries)
        {
            words.insert(words.end(), {entry.result, entry.output, entry.input});
            if (changes.format != 1)
            {
                words.insert(words.end(), {entry.lprState, entry.lprId});
            }
        }
        return words;
    });
}

void decodeFixed(const koraclient::Message& message, const Question& question)
{
    const auto sut = [&](std::uint32_t id) {
        return koraclient::ResponseDecoder(message, expectationOf(message, question, id));
    };
    check(message, sut(wireLayout::rspId::partitionInfo).partitionInfo(),
          [](const koraclient::PartitionInfo& info) { return Words(info.begin(), info.end()); });
    check(message, sut(wireLayout::rspId::routerPortPresent).portPresent(),
          [](std::uint32_t result) { return Words{result}; });
    check(message, sut(wireLayout::rspId::readySystemStatus).systemStatus(question.format),
          [](const koraclient::SystemStatus& status) {
              Words words{status.format};
              words.insert(words.end(), status.words.begin(), status.words.end());
              return words;
          });
    check(message, sut(wireLayout::rspId::ccPresence).cardPresence(question.level),
          [](const koraclient::CardPresence& presence) {
              Words words{presence.word};
              words.insert(words.end(), presence.words.begin(), presence.words.end());
              return words;
          });
}

void decode(const koraclient::Message& message, const Question& question)
{
    switch (question.command & 0x0fU)
    {
    case 0:
        decodeTake(message, question);
        break;
    case 1:
        decodeLpr(message, question);
        break;
    case 2:
        decodeTally(message, question);
        break;
    case 3:
        decodeStatus(message, question);
        break;
    case 4:
        decodeChanges(message, question);
        break;
    default:
        decodeFixed(message, question);
        break;
    }
    const auto fault = koraclient::ResponseDecoder(message, expectationOf(message, question, 0)).checkEnvelope();
    require(!fault || !fault->text.empty(), "a fault says what came");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < questionBytes)
    {
        return 0;
    }
    const std::span<const std::uint8_t> input(data, size);
    const Question question = questionOf(input);
    auto stream = input.subspan(questionBytes);

    // A message need not come from the cutter: one of any size.
    decode(koraclient::Message(std::vector<std::uint8_t>(stream.begin(), stream.end())), question);

    fuzz::Segments segments(data[0]);
    koraclient::MessageCutter cutter;
    std::size_t appended = 0;
    std::size_t cut = 0;
    while (!stream.empty())
    {
        const auto segment = stream.first(std::min(segments.next(), stream.size()));
        stream = stream.subspan(segment.size());
        cutter.append(segment);
        appended += segment.size();
        while (const auto message = cutter.next())
        {
            if (!message->isOk())
            {
                require(!message->fault().text.empty(), "a fault says what came");
                return 0; // no further message boundary
            }
            const auto bytes = message->value().bytes();
            require(bytes.size() >= 16 && bytes.size() <= 8192 && bytes.size() % 4 == 0, "a message has a proper size");
            require(std::equal(bytes.begin(), bytes.end(), data + questionBytes + cut),
                    "messages are cut one behind the other");
            cut += bytes.size();
            decode(message->value(), question);
        }
        require(cutter.heldBytes() == appended - cut, "the rest is held");
    }
    return 0;
}
