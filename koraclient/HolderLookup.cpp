#include "koraclient/HolderLookup.h"

#include "koraclient/Errors.h"
#include "koracommand/ResultCode.h"

namespace koraclient
{

std::optional<std::uint32_t> HolderLookup::ask(std::uint32_t level, std::uint32_t output, std::uint32_t result)
{
    if (m_hasFailed || (result != resultCode::outputLocked && result != resultCode::outputProtected))
    {
        return std::nullopt;
    }
    const LprState wanted = result == resultCode::outputLocked ? LprState::locked : LprState::isProtected;
    try
    {
        constexpr std::uint32_t longFormat = 2;
        const OutputStatusBlock block = m_client.outputStatus(longFormat, level, output, 1);
        if (block.entries.empty() || block.entries.front().lprState != static_cast<std::uint32_t>(wanted))
        {
            return std::nullopt;
        }
        return block.entries.front().lprId;
    }
    catch (const KoraError&)
    {
        m_hasFailed = true; // the next question would only wait in vain, too
        return std::nullopt;
    }
}

} // namespace koraclient
