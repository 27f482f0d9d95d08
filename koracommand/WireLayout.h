#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Offsets, sizes and ids of every message on the controller link, in wire order. Offsets are bytes from the start of
/// the message, header included; every field is one 32-bit big-endian word. `length(n)` is the length in bytes of a
/// message with n entries, `maxEntries` the most that fit a message. Request entries with four words always travel as
/// level number and three arguments.
namespace wireLayout
{

inline constexpr std::size_t wordBytes = 4;
inline constexpr std::size_t maxMessageBytes = 8192;

/// Header of every message, both directions.
///
///       +---------------------------------------------------------------+
///     0 | protocol type: 12                                             |
///     4 | sequence: request, the controller's tag; response, a counter  |
///     8 | length: whole message in bytes                                |
///    12 | message id                                                    |
///       +---------------------------------------------------------------+
///    16   payload
namespace header
{
inline constexpr std::size_t protocolType = 0;
inline constexpr std::size_t sequence = 4;
inline constexpr std::size_t length = 8;
inline constexpr std::size_t msgId = 12;
inline constexpr std::size_t bytes = 16;
} // namespace header

/// The one protocol type that is answered.
inline constexpr std::uint32_t routerControlProtocol = 12;

/// Ids of requests.
namespace msgId
{
inline constexpr std::uint32_t take = 0x00000050;
inline constexpr std::uint32_t setOutputLpr = 0x00000051;
inline constexpr std::uint32_t getOutputStatus = 0x00000052;
inline constexpr std::uint32_t getOutputChanges = 0x00000053;
inline constexpr std::uint32_t coherentTake = 0x00000055;
inline constexpr std::uint32_t partitionInfo = 0x00000059;
inline constexpr std::uint32_t tally = 0x0000005e;
inline constexpr std::uint32_t ccPresence = 0x000000a2;
inline constexpr std::uint32_t routerPortPresent = 0x00004000;
inline constexpr std::uint32_t readySystemStatus = 0x00005000;
} // namespace msgId

/// Ids of responses. Two do not follow the request, on purpose: the coherent take answers as the take does, and the set
/// output LPR has an id of its own.
namespace rspId
{
inline constexpr std::uint32_t error = 0x80000000;
inline constexpr std::uint32_t take = 0x80000050;
inline constexpr std::uint32_t setOutputLpr = 0x80000002;
inline constexpr std::uint32_t getOutputStatus = 0x80000052;
inline constexpr std::uint32_t getOutputChanges = 0x80000053;
inline constexpr std::uint32_t coherentTake = take;
inline constexpr std::uint32_t partitionInfo = 0x80000059;
inline constexpr std::uint32_t tally = 0x8000005e;
inline constexpr std::uint32_t ccPresence = 0x800000a2;
inline constexpr std::uint32_t routerPortPresent = 0x80004000;
inline constexpr std::uint32_t readySystemStatus = 0x80005000;
} // namespace rspId

/// What every response carries right after its header.
///
///       +---------------------------------------------------------------+
///    16 | tag: the request's word at 4                                  |
///       +---------------------------------------------------------------+
///    20   payload proper
namespace rsp
{
inline constexpr std::size_t tag = 16;
inline constexpr std::size_t payload = 20;
} // namespace rsp

/// Error response: no command has the request's id.
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |
///    20 | error code: 8                                                 |
///       +---------------------------------------------------------------+
namespace errorRsp
{
inline constexpr std::size_t code = 20;
inline constexpr std::uint32_t length = 24;
} // namespace errorRsp

/// Request of take, coherent take and set output LPR: a list of entries.
///
///       +---------------------------------------------------------------+
///    16 | n: number of entries                                          |
///       +===============================================================+  entry i at 20 + 16 i
///       | level number                                                  |
///       | take: holder (lprId)        set output LPR: output            |
///       | take: input                 set output LPR: LPR code          |
///       | take: output                set output LPR: holder (lprId)    |
///       +===============================================================+
namespace entryListReq
{
inline constexpr std::size_t count = 16;
inline constexpr std::size_t entries = 20;
inline constexpr std::size_t entryBytes = 16;
inline constexpr std::size_t entryLevel = 0;
inline constexpr std::size_t entryArgument1 = 4;
inline constexpr std::size_t entryArgument2 = 8;
inline constexpr std::size_t entryArgument3 = 12;
inline constexpr std::uint32_t maxEntries = (maxMessageBytes - entries) / entryBytes;
constexpr std::uint32_t length(std::uint32_t n)
{
    return static_cast<std::uint32_t>(entries) + n * static_cast<std::uint32_t>(entryBytes);
}
} // namespace entryListReq

/// Response of take and coherent take.
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |
///    20 | n                                                             |
///       +===============================================================+
///       | result of entry i, at 24 + 4 i                                |
///       +===============================================================+
namespace takeRsp
{
inline constexpr std::size_t count = 20;
inline constexpr std::size_t results = 24;
inline constexpr std::uint32_t maxEntries = (maxMessageBytes - results) / wordBytes;
constexpr std::uint32_t length(std::uint32_t n)
{
    return (n + 6) * 4;
}
} // namespace takeRsp

/// Response of set output LPR.
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |
///    20 | status: 0, or 0x80 when any result is not 0                   |
///    24 | n                                                             |
///       +===============================================================+
///       | result of entry i, at 28 + 4 i                                |
///       +===============================================================+
namespace setOutputLprRsp
{
inline constexpr std::size_t status = 20;
inline constexpr std::size_t count = 24;
inline constexpr std::size_t results = 28;
inline constexpr std::uint32_t statusDone = 0;
inline constexpr std::uint32_t statusFailed = 0x80;
inline constexpr std::uint32_t maxEntries = (maxMessageBytes - results) / wordBytes;
constexpr std::uint32_t length(std::uint32_t n)
{
    return (n + 7) * 4;
}
} // namespace setOutputLprRsp

/// Tally request.
///
///       +---------------------------------------------------------------+
///    16 | level number                                                  |
///    20 | first output                                                  |
///    24 | n: number of outputs                                          |
///       +---------------------------------------------------------------+
namespace tallyReq
{
inline constexpr std::size_t level = 16;
inline constexpr std::size_t firstOutput = 20;
inline constexpr std::size_t count = 24;
inline constexpr std::uint32_t length = 28;
} // namespace tallyReq

/// Tally response.
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |
///    20 | level number                                                  |
///    24 | first output                                                  |
///    28 | n                                                             |
///       +===============================================================+  output first + i, at 32 + 8 i
///       | result                                                        |
///       | input                                                         |
///       +===============================================================+
namespace tallyRsp
{
inline constexpr std::size_t level = 20;
inline constexpr std::size_t firstOutput = 24;
inline constexpr std::size_t count = 28;
inline constexpr std::size_t entries = 32;
inline constexpr std::size_t entryBytes = 8;
inline constexpr std::uint32_t maxEntries = (maxMessageBytes - entries) / entryBytes;
constexpr std::uint32_t length(std::uint32_t n)
{
    return (n + 4) * 8;
}
} // namespace tallyRsp

/// Get output status request.
///
///       +---------------------------------------------------------------+
///    16 | format: 1 short entries, any other long entries               |
///    20 | level number                                                  |
///    24 | first output                                                  |
///    28 | n: number of outputs                                          |
///       +---------------------------------------------------------------+
namespace getOutputStatusReq
{
inline constexpr std::size_t format = 16;
inline constexpr std::size_t level = 20;
inline constexpr std::size_t firstOutput = 24;
inline constexpr std::size_t count = 28;
inline constexpr std::uint32_t length = 32;
} // namespace getOutputStatusReq

/// Get output status response.
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |
///    20 | format                                                        |
///    24 | level number                                                  |
///    28 | first output                                                  |
///    32 | n                                                             |
///       +===============================================================+  format 1: output first + i, at 36 + 8 i
///       | result                                                        |
///       | input                                                         |
///       +===============================================================+  any other: output first + i, at 36 + 16 i
///       | result                                                        |
///       | input                                                         |
///       | LPR state: 0 released, 1 locked, 2 protected                  |
///       | holder (lprId)                                                |
///       +===============================================================+
namespace getOutputStatusRsp
{
inline constexpr std::size_t format = 20;
inline constexpr std::size_t level = 24;
inline constexpr std::size_t firstOutput = 28;
inline constexpr std::size_t count = 32;
inline constexpr std::size_t entries = 36;
inline constexpr std::uint32_t shortFormat = 1;
inline constexpr std::size_t shortEntryBytes = 8;
inline constexpr std::size_t longEntryBytes = 16;
constexpr std::size_t entryBytes(std::uint32_t formatCode)
{
    return formatCode == shortFormat ? shortEntryBytes : longEntryBytes;
}
constexpr std::uint32_t maxEntries(std::uint32_t formatCode)
{
    return static_cast<std::uint32_t>((maxMessageBytes - entries) / entryBytes(formatCode));
}
constexpr std::uint32_t length(std::uint32_t formatCode, std::uint32_t n)
{
    return static_cast<std::uint32_t>(entries + entryBytes(formatCode) * n);
}
} // namespace getOutputStatusRsp

/// Get output changes request.
///
///       +---------------------------------------------------------------+
///    16 | format: 1 short entries, any other long entries               |
///    20 | level number                                                  |
///       +---------------------------------------------------------------+
namespace getOutputChangesReq
{
inline constexpr std::size_t format = 16;
inline constexpr std::size_t level = 20;
inline constexpr std::uint32_t length = 24;
} // namespace getOutputChangesReq

/// Get output changes response. At most 679 short or 64 long entries; `more` is 1 when the limit was reached.
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |
///    20 | format                                                        |
///    24 | level number                                                  |
///    28 | n: number of entries                                          |
///    32 | more: 1 ask again, 0 no further change                        |
///       +===============================================================+  format 1: entry i at 36 + 12 i
///       | result                                                        |
///       | output                                                        |
///       | input                                                         |
///       +===============================================================+  any other: entry i at 36 + 20 i
///       | result                                                        |
///       | output                                                        |
///       | input                                                         |
///       | LPR state: 0 released, 1 locked, 2 protected                  |
///       | holder (lprId)                                                |
///       +===============================================================+
namespace getOutputChangesRsp
{
inline constexpr std::size_t format = 20;
inline constexpr std::size_t level = 24;
inline constexpr std::size_t count = 28;
inline constexpr std::size_t more = 32;
inline constexpr std::size_t entries = 36;
inline constexpr std::uint32_t shortFormat = 1;
inline constexpr std::size_t shortEntryBytes = 12;
inline constexpr std::size_t longEntryBytes = 20;
inline constexpr std::uint32_t maxShortEntries = (maxMessageBytes - entries) / shortEntryBytes;
inline constexpr std::uint32_t maxLongEntries = 64;
constexpr std::size_t entryBytes(std::uint32_t formatCode)
{
    return formatCode == shortFormat ? shortEntryBytes : longEntryBytes;
}
constexpr std::uint32_t maxEntries(std::uint32_t formatCode)
{
    return formatCode == shortFormat ? maxShortEntries : maxLongEntries;
}
constexpr std::uint32_t length(std::uint32_t formatCode, std::uint32_t n)
{
    return static_cast<std::uint32_t>(entries + entryBytes(formatCode) * n);
}
} // namespace getOutputChangesRsp

/// Partition info: the request has no payload; the response is the same for every request.
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |
///    20 | 17 fixed words                                                |
///    .. |                                                               |
///    84 |                                                               |
///       +---------------------------------------------------------------+
namespace partitionInfoRsp
{
inline constexpr std::size_t words = 20;
inline constexpr std::array<std::uint32_t, 17> fixedWords{
    2, 1, 9, 1,    288, 1, 1,    288, 1, // 20 to 52
    2, 7, 1, 2304, 1,   1, 2304, 1       // 56 to 84
};
inline constexpr std::uint32_t length = 88;
} // namespace partitionInfoRsp

/// Control-card presence request and response.
///
///       +---------------------------------------------------------------+
///    16 | card                                                          |   request
///       +---------------------------------------------------------------+
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |   response
///    20 | card: the request's word at 16                                |
///    24 | 0                                                             |
///    28 | 1: present                                                    |
///    32 | 0                                                             |
///    36 | 0                                                             |
///       +---------------------------------------------------------------+
namespace ccPresenceReq
{
inline constexpr std::size_t card = 16;
inline constexpr std::uint32_t length = 20;
} // namespace ccPresenceReq
namespace ccPresenceRsp
{
inline constexpr std::size_t card = 20;
inline constexpr std::size_t reserved1 = 24;
inline constexpr std::size_t present = 28;
inline constexpr std::size_t reserved2 = 32;
inline constexpr std::size_t reserved3 = 36;
inline constexpr std::uint32_t length = 40;
} // namespace ccPresenceRsp

/// Router port present: the request has no payload.
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |
///    20 | 0                                                             |
///       +---------------------------------------------------------------+
namespace routerPortPresentRsp
{
inline constexpr std::size_t result = 20;
inline constexpr std::uint32_t length = 24;
} // namespace routerPortPresentRsp

/// System status request and response. Formats 0, 2, 4 and 6 exist; any other is answered as format 4. `time` is
/// seconds since 1970.
///
///       +---------------------------------------------------------------+
///    16 | format                                                        |   request
///       +---------------------------------------------------------------+
///
///       +---------------------------------------------------------------+
///    16 | tag                                                           |   response
///    20 | format answered                                               |
///    24 | the words of the format                                       |
///    .. |   time at: format 2 60, formats 4 and 6 72                    |
///       +---------------------------------------------------------------+
namespace readySystemStatusReq
{
inline constexpr std::size_t format = 16;
inline constexpr std::uint32_t length = 20;
} // namespace readySystemStatusReq
namespace readySystemStatusRsp
{
inline constexpr std::size_t format = 20;
inline constexpr std::size_t words = 24;
inline constexpr std::uint32_t fallbackFormat = 4;
inline constexpr std::size_t format2Time = 60;
inline constexpr std::size_t format4Time = 72;
inline constexpr std::size_t format6Time = 72;
inline constexpr std::uint32_t format0Length = 68;
inline constexpr std::uint32_t format2Length = 88;
inline constexpr std::uint32_t format4Length = 112;
inline constexpr std::uint32_t format6Length = 116;
} // namespace readySystemStatusRsp

static_assert(getOutputChangesRsp::maxShortEntries == 679);
static_assert(getOutputChangesRsp::length(getOutputChangesRsp::shortFormat, 679) == 8184);
static_assert(partitionInfoRsp::words + wordBytes * partitionInfoRsp::fixedWords.size() == partitionInfoRsp::length);

} // namespace wireLayout
