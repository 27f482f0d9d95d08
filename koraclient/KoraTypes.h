#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace koraclient
{

/// One entry of a take or a coherent take. An lprId of 0 passes every protection.
struct TakeEntry
{
    std::uint32_t level = 0;
    std::uint32_t lprId = 0;
    std::uint32_t input = 0;
    std::uint32_t output = 0;

    bool operator==(const TakeEntry&) const = default;
};

/// What to do with an output; the values travel on the link.
enum class LprCommand : std::uint32_t
{
    release = 0,
    lock = 1,
    protect = 2,
    forcedRelease = 16, ///< done whoever holds the output
};

/// One entry of a lock, protect or release.
struct LprEntry
{
    std::uint32_t level = 0;
    std::uint32_t output = 0;
    LprCommand command = LprCommand::release;
    std::uint32_t lprId = 0;

    bool operator==(const LprEntry&) const = default;
};

/// Answer to a lock, protect or release: `status` is 0, or 0x80 when any entry was refused; one result code an entry.
struct LprResult
{
    std::uint32_t status = 0;
    std::vector<std::uint32_t> results;
};

/// State of an output as the link reports it.
enum class LprState : std::uint32_t
{
    released = 0,
    locked = 1,
    isProtected = 2,
};

/// One output of a tally: the result code of the query and the controller input (meaningful when `result` is 0).
struct TallyEntry
{
    std::uint32_t result = 0;
    std::uint32_t input = 0;

    bool operator==(const TallyEntry&) const = default;
};

/// Answer to a tally: entry i belongs to output `first` + i. May hold fewer entries than were asked for when the
/// message cannot carry them all.
struct Tally
{
    std::uint32_t level = 0;
    std::uint32_t first = 0;
    std::vector<TallyEntry> entries;
};

/// One output's status. With format 1 only `result` and `input` travel; the other two are 0.
struct OutputStatus
{
    std::uint32_t result = 0;
    std::uint32_t input = 0;
    std::uint32_t lprState = 0; ///< see `LprState`
    std::uint32_t lprId = 0;

    bool operator==(const OutputStatus&) const = default;
};

/// Answer to an output status request: entry i belongs to output `first` + i. May hold fewer than were asked for, as
/// with `Tally`.
struct OutputStatusBlock
{
    std::uint32_t format = 0;
    std::uint32_t level = 0;
    std::uint32_t first = 0;
    std::vector<OutputStatus> entries;
};

/// One output that changed since this connection last asked, with its status now. With format 1 `lprState` and `lprId`
/// do not travel and are 0.
struct OutputChange
{
    std::uint32_t result = 0;
    std::uint32_t output = 0;
    std::uint32_t input = 0;
    std::uint32_t lprState = 0;
    std::uint32_t lprId = 0;

    bool operator==(const OutputChange&) const = default;
};

/// Answer to an output changes request; `more` says that the message was full and another request may bring more.
struct OutputChanges
{
    std::uint32_t format = 0;
    std::uint32_t level = 0;
    bool more = false;
    std::vector<OutputChange> entries;
};

/// The partition information words, from message offset 20 on.
using PartitionInfo = std::array<std::uint32_t, 17>;

/// Answer to a system status request: the format that was answered and the words from message offset 24 on.
struct SystemStatus
{
    std::uint32_t format = 0;
    std::vector<std::uint32_t> words;
};

/// Answer to a control card presence request: the request's word echoed and the words from message offset 24 on.
struct CardPresence
{
    std::uint32_t word = 0;
    std::array<std::uint32_t, 4> words{};
};

} // namespace koraclient
