#include "koracommand/FixedCommands.h"

#include "koracommand/WireLayout.h"
#include "runtime/misc/Console.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace
{

namespace layout = wireLayout::readySystemStatusRsp;

// The words of each format from offset 24 on; the time of day, where there is one, stands as 0.
constexpr std::array<std::uint32_t, 11> format0Words{103, 177, 1, 0, 0, 0, 1, 0, 1, 0, 0};
constexpr std::array<std::uint32_t, 16> format2Words{103, 103, 177, 1, 0, 1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0};
constexpr std::array<std::uint32_t, 22> format4Words{103, 103, 177, 1, 0, 1, 1, 0, 1, 0, 0,
                                                     0,   0,   0,   0, 0, 0, 0, 0, 0, 1, 65535};
constexpr std::array<std::uint32_t, 23> format6Words{103, 103, 177, 1, 0, 1, 1, 0, 1, 0, 0, //
                                                     0,   0,   0,   0, 0, 0, 0, 0, 0, 0, 1, 65535};

/// One format's answer.
struct StatusFormat
{
    std::uint32_t format;
    std::span<const std::uint32_t> words;
    std::uint32_t length;
    std::optional<std::size_t> timeOffset;
};

constexpr StatusFormat format0{0, format0Words, layout::format0Length, std::nullopt};
constexpr StatusFormat format2{2, format2Words, layout::format2Length, layout::format2Time};
constexpr StatusFormat format4{4, format4Words, layout::format4Length, layout::format4Time};
constexpr StatusFormat format6{6, format6Words, layout::format6Length, layout::format6Time};

constexpr bool fillsItsLength(const StatusFormat& status)
{
    return layout::words + status.words.size() * wireLayout::wordBytes == status.length;
}
static_assert(fillsItsLength(format0) && fillsItsLength(format2) && fillsItsLength(format4) && fillsItsLength(format6));
static_assert(layout::fallbackFormat == format4.format);

const StatusFormat& statusFormat(std::uint32_t format)
{
    switch (format)
    {
    case format0.format:
        return format0;
    case format2.format:
        return format2;
    case format4.format:
        return format4;
    case format6.format:
        return format6;
    default:
        com::tallowcrest::misc::print(
            "ReadySystemStatusRsp: unsupported status format: %d, using System Status Format 4\n",
            static_cast<int>(format));
        return format4;
    }
}

/// The low 32 bits of the seconds since 1970.
std::uint32_t wireSeconds(std::chrono::system_clock::time_point time)
{
    return static_cast<std::uint32_t>(std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count());
}

} // namespace

PartitionInfoRsp::PartitionInfoRsp(const WireReader& request) : Pooled(request, wireLayout::rspId::partitionInfo)
{
    namespace rsp = wireLayout::partitionInfoRsp;
    std::size_t offset = rsp::words;
    for (const std::uint32_t word : rsp::fixedWords)
    {
        setWord(offset, word);
        offset += wireLayout::wordBytes;
    }
    setLength(rsp::length);
}

std::unique_ptr<Rsp> PartitionInfoCmd::createRsp()
{
    return std::make_unique<PartitionInfoRsp>(request());
}

RouterPortPresentRsp::RouterPortPresentRsp(const WireReader& request)
    : Pooled(request, wireLayout::rspId::routerPortPresent)
{
    namespace rsp = wireLayout::routerPortPresentRsp;
    setWord(rsp::result, 0);
    setLength(rsp::length);
}

std::unique_ptr<Rsp> RouterPortPresentCmd::createRsp()
{
    return std::make_unique<RouterPortPresentRsp>(request());
}

CcPresenceRsp::CcPresenceRsp(const WireReader& request) : Pooled(request, wireLayout::rspId::ccPresence)
{
    namespace rsp = wireLayout::ccPresenceRsp;
    setWord(rsp::card, request.hostWordAt(wireLayout::ccPresenceReq::card));
    setWord(rsp::reserved1, 0);
    setWord(rsp::present, 1);
    setWord(rsp::reserved2, 0);
    setWord(rsp::reserved3, 0);
    setLength(rsp::length);
}

std::unique_ptr<Rsp> CcPresenceCmd::createRsp()
{
    return std::make_unique<CcPresenceRsp>(request());
}

ReadySystemStatusRsp::ReadySystemStatusRsp(const WireReader& request, std::chrono::system_clock::time_point now)
    : Pooled(request, wireLayout::rspId::readySystemStatus)
{
    const StatusFormat& status = statusFormat(request.hostWordAt(wireLayout::readySystemStatusReq::format));
    setWord(layout::format, status.format);
    std::size_t offset = layout::words;
    for (const std::uint32_t word : status.words)
    {
        setWord(offset, word);
        offset += wireLayout::wordBytes;
    }
    if (status.timeOffset)
    {
        setWord(*status.timeOffset, wireSeconds(now));
    }
    setLength(status.length);
}

std::unique_ptr<Rsp> ReadySystemStatusCmd::createRsp()
{
    return std::make_unique<ReadySystemStatusRsp>(request(), context().now());
}
