#include "runtime/util/ListeningSocket.h"

#include "runtime/util/Ipv4Address.h"
#include "runtime/util/Log.h"
#include "runtime/util/SystemError.h"
#include "runtime/util/TextFormat.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <optional>
#include <utility>

namespace com::tallowcrest::util
{

namespace
{

std::optional<Failure> setOptions(int socket, const ListeningSocketPlan& plan, std::span<const SocketOption> options,
                                  const log4cxx::LoggerPtr& failures, SourceLocation where)
{
    if (plan.refusedOption == RefusedOption::IsAFailure)
    {
        return applySocketOptions(socket, options, where);
    }
    tryEachSocketOption(socket, options, failures, where);
    return std::nullopt;
}

} // namespace

std::variant<UniqueFd, Failure> openListeningSocket(const ListeningSocketPlan& plan, const log4cxx::LoggerPtr& logger,
                                                    const log4cxx::LoggerPtr& failures, SourceLocation where)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(plan.port);
    const std::string addressText = dottedText(address.sin_addr.s_addr);

    UniqueFd listening(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | plan.typeFlags, 0));
    if (!listening.isOpen())
    {
        const int error = errno;
        return Failure(formatText("socket %d", error),
                       formatText("socket() failed, %s", systemErrorText(error).c_str()), where);
    }
    if (auto failure = setOptions(listening.get(), plan, plan.options, failures, where))
    {
        return *std::move(failure);
    }
    if (::bind(listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    {
        const int error = errno;
        return Failure(formatText("bind %d", error),
                       formatText("failed binding socket %d to address/port %s, %s", listening.get(),
                                  addressText.c_str(), systemErrorText(error).c_str()),
                       where);
    }
    auto failure = setOptions(listening.get(), plan, plan.boundOptions, failures, where);
    if (!failure && ::listen(listening.get(), listenBacklog) != 0)
    {
        const int error = errno;
        failure.emplace(formatText("listen %d", error),
                        formatText("listen failed using socket %d to address/port %s, %s\n", listening.get(),
                                   addressText.c_str(), systemErrorText(error).c_str()),
                        where);
    }
    LOG_INFO_AT_F(failure ? failures : logger, where, "bind IP addr 0x%x (%s) Port: %u Socket %d",
                  ntohl(address.sin_addr.s_addr), addressText.c_str(), unsigned{plan.port}, listening.get());
    if (failure)
    {
        return *std::move(failure);
    }
    return listening;
}

} // namespace com::tallowcrest::util
