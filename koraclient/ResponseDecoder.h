#pragma once

#include "koraclient/Decoded.h"
#include "koraclient/KoraTypes.h"
#include "koraclient/Message.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace koraclient
{

/// What every response to one request must carry.
struct Expectation
{
    std::uint32_t responseId = 0; ///< not always the request's with bit 31 set: see `wireLayout::rspId`
    std::uint32_t tag = 0;        ///< of the request
    std::uint32_t sequence = 0;   ///< responses that the connection has had before
};

/// Turns one received message into the typed response of one request, or into a fault that says what came. Each
/// operation takes what the request asked for. Pure: works on a message alone, reads nothing beyond it, throws nothing,
/// and bounds every count by the message's length before it uses it. Views the message, which must outlive it.
class ResponseDecoder
{
public:
    ResponseDecoder(std::span<const std::uint8_t> message, const Expectation& expected)
        : m_message(message), m_expected(expected)
    {}
    ResponseDecoder(const Message& message, const Expectation& expected) : ResponseDecoder(message.bytes(), expected) {}

    /// Only what all responses share, whatever their id.
    std::optional<Fault> checkEnvelope() const;
    /// That too, and that it is no error response and has the expected id. Allocates nothing when it is right.
    std::optional<Fault> checkHeader() const;

    /// One result code an entry; `asked` entries were sent.
    Decoded<std::vector<std::uint32_t>> takeResults(std::size_t asked) const;
    Decoded<LprResult> lprResult(std::size_t asked) const;
    Decoded<Tally> tally(std::uint32_t level, std::uint32_t first, std::uint32_t count) const;
    Decoded<OutputStatusBlock> outputStatus(std::uint32_t format, std::uint32_t level, std::uint32_t first,
                                            std::uint32_t count) const;
    Decoded<OutputChanges> outputChanges(std::uint32_t format, std::uint32_t level) const;
    Decoded<PartitionInfo> partitionInfo() const;
    Decoded<std::uint32_t> portPresent() const;
    Decoded<SystemStatus> systemStatus(std::uint32_t format) const;
    Decoded<CardPresence> cardPresence(std::uint32_t word) const;

private:
    /// The header; then that the message holds at least `bytes`.
    std::optional<Fault> checkStart(std::size_t bytes) const;
    std::optional<Fault> checkLength(std::size_t wanted) const;
    /// That the word at `offset` repeats the request's.
    std::optional<Fault> checkEcho(const char* what, std::size_t offset, std::uint32_t asked) const;
    /// That `count` is from `least` to `most`.
    static std::optional<Fault> checkCount(std::uint32_t count, std::size_t least, std::size_t most);
    std::uint32_t word(std::size_t offset) const { return m_message.bigEndianWordAt(offset); }
    std::vector<std::uint32_t> wordsFrom(std::size_t offset, std::size_t count) const;

    WireReader m_message;
    Expectation m_expected;
};

} // namespace koraclient
