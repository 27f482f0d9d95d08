#include "koraserver/UnexpectedProtocols.h"

#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"

#include <algorithm>
#include <array>
#include <utility>

namespace
{

struct ProtocolName
{
    std::uint32_t type;
    const char* name;
};

constexpr std::array<ProtocolName, 7> protocolNames{{
    {10, "nptGeneralPurposeProtocolType"},
    {14, "nptZT4100ProtocolType"},
    {16, "nptMasterCtrlProtocolType"},
    {19, "nptPLVXProtocolType"},
    {20, "nptUDPDiscoveryProtocol"},
    {21, "nptSCPProtocol"},
    {80, "nptMasterCtrlProtocolTypeExtended"},
}};

} // namespace

UnexpectedProtocols::UnexpectedProtocols(log4cxx::LoggerPtr logger) : m_logger(std::move(logger)) {}

void UnexpectedProtocols::addUnexpectedProtocol(std::uint32_t protocolType, const std::string& name)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_names.size() < maxListedTypes)
        {
            m_names.try_emplace(protocolType, name);
        }
    }
    LOG_INFO_F(m_logger, "Unexpected Protocol: %s 0x%x", name.c_str(), protocolType);
}

void UnexpectedProtocols::show() const
{
    // Printed from a copy: a slow console must not hold the connection up.
    std::unordered_map<std::uint32_t, std::string> names;
    {
        const std::lock_guard lock(m_mutex);
        names = m_names;
    }
    com::tallowcrest::misc::print("               ----- Unexpected Protocols -----\n");
    for (const auto& [type, name] : names)
    {
        com::tallowcrest::misc::print("               0x%02x %s\n", type, name.c_str());
    }
}

const char* UnexpectedProtocols::nameOf(std::uint32_t protocolType)
{
    const auto* const found =
        std::find_if(protocolNames.begin(), protocolNames.end(),
                     [protocolType](const ProtocolName& protocol) { return protocol.type == protocolType; });
    return found != protocolNames.end() ? found->name : "Unknown Protocol";
}
