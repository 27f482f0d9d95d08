#include "tools/koractl/HolderLookup.h"

#include "koracommand/ResultCode.h"

namespace koractl
{

std::optional<std::uint32_t> askHolder(KoraClient& client, std::uint32_t level, std::uint32_t output,
                                       std::uint32_t result)
{
    if (result != resultCode::outputLocked && result != resultCode::outputProtected)
    {
        return std::nullopt;
    }
    constexpr std::uint32_t longFormat = 2;
    const OutputStatusBlock block = client.outputStatus(longFormat, level, output, 1);
    const LprState wanted = result == resultCode::outputLocked ? LprState::locked : LprState::isProtected;
    if (block.entries.empty() || block.entries.front().lprState != static_cast<std::uint32_t>(wanted))
    {
        return std::nullopt;
    }
    return block.entries.front().lprId;
}

} // namespace koractl
