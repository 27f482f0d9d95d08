#include "koraserver/ListeningSocket.h"

#include "koraserver/SocketOption.h"
#include "runtime/util/Ipv4Address.h"
#include "runtime/util/Log.h"
#include "runtime/util/SystemError.h"
#include "runtime/util/TextFormat.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>

using com::tallowcrest::util::dottedText;
using com::tallowcrest::util::Failure;
using com::tallowcrest::util::formatText;
using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

std::variant<UniqueFd, Failure> openListeningSocket(std::uint16_t port, const log4cxx::LoggerPtr& logger)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(port);
    const std::string addressText = dottedText(address.sin_addr.s_addr);

    UniqueFd listening(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!listening.isOpen())
    {
        const int error = errno;
        return Failure{formatText("socket %d", error),
                       formatText("socket() failed, %s", systemErrorText(error).c_str())};
    }
    if (auto failure = applySocketOptions(listening.get(), listeningOptions))
    {
        return *std::move(failure);
    }
    if (::bind(listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    {
        const int error = errno;
        return Failure{formatText("bind %d", error),
                       formatText("failed binding socket %d to address/port %s, %s", listening.get(),
                                  addressText.c_str(), systemErrorText(error).c_str())};
    }
    LOG_INFO_F(logger, "bind IP addr 0x%x (%s) Port: %u Socket %d", ntohl(address.sin_addr.s_addr), addressText.c_str(),
               unsigned{ntohs(address.sin_port)}, listening.get());
    if (auto failure = applySocketOptions(listening.get(), boundOptions))
    {
        return *std::move(failure);
    }
    if (::listen(listening.get(), listenBacklog) != 0)
    {
        const int error = errno;
        return Failure{formatText("listen %d", error),
                       formatText("listen failed using socket %d to address/port %s, %s\n", listening.get(),
                                  addressText.c_str(), systemErrorText(error).c_str())};
    }
    return listening;
}
