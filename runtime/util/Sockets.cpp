#include "runtime/util/Sockets.h"

#include "runtime/util/Log.h"
#include "runtime/util/SystemError.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <bit>
#include <cerrno>
#include <optional>
#include <utility>

namespace com::tallowcrest::util
{

namespace
{

int apply(int socket, const SocketOption& option)
{
    switch (option.kind)
    {
    case SocketOption::Kind::Number:
        return ::setsockopt(socket, option.level, option.name, &option.value, sizeof option.value);
    case SocketOption::Kind::Linger: {
        const linger value{1, option.value};
        return ::setsockopt(socket, option.level, option.name, &value, sizeof value);
    }
    case SocketOption::Kind::Blocking: {
        int value = option.value;
        return ::ioctl(socket, FIONBIO, &value);
    }
    }
    errno = EINVAL;
    return -1;
}

} // namespace

std::optional<Failure> applySocketOptions(int socket, std::span<const SocketOption> options, SourceLocation where)
{
    for (const SocketOption& option : options)
    {
        if (apply(socket, option) != 0)
        {
            const int error = errno;
            return Failure(formatText("%s %d", option.text, error),
                           formatText("failed setting %s socket option on %s %d, %s", option.text, option.socket,
                                      socket, systemErrorText(error).c_str()),
                           where);
        }
    }
    return std::nullopt;
}

void tryEachSocketOption(int socket, std::span<const SocketOption> options, const log4cxx::LoggerPtr& logger,
                         SourceLocation where)
{
    for (const SocketOption& option : options)
    {
        if (const auto failure = applySocketOptions(socket, {&option, 1}, where))
        {
            LOG_WARN_AT_F(logger, failure->where, "%s", failure->text.c_str());
        }
    }
}

namespace
{

std::string anyAddressText()
{
    return dottedText(htonl(INADDR_ANY));
}

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

std::variant<UniqueFd, Failure> bindSocket(const ListeningSocketPlan& plan, const log4cxx::LoggerPtr& failures,
                                           SourceLocation where)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(plan.port);

    UniqueFd bound(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | plan.typeFlags, 0));
    if (!bound.isOpen())
    {
        const int error = errno;
        return Failure(formatText("socket %d", error),
                       formatText("socket() failed, %s", systemErrorText(error).c_str()), where);
    }
    if (auto failure = setOptions(bound.get(), plan, plan.options, failures, where))
    {
        return *std::move(failure);
    }
    if (::bind(bound.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    {
        const int error = errno;
        return Failure(formatText("bind %d", error),
                       formatText("failed binding socket %d to address/port %s, %s", bound.get(),
                                  anyAddressText().c_str(), systemErrorText(error).c_str()),
                       where);
    }
    return bound;
}

std::optional<Failure> listenOn(int socket, const ListeningSocketPlan& plan, const log4cxx::LoggerPtr& logger,
                                const log4cxx::LoggerPtr& failures, SourceLocation where)
{
    auto failure = setOptions(socket, plan, plan.boundOptions, failures, where);
    if (!failure && ::listen(socket, listenBacklog) != 0)
    {
        const int error = errno;
        failure.emplace(formatText("listen %d", error),
                        formatText("listen failed using socket %d to address/port %s, %s\n", socket,
                                   anyAddressText().c_str(), systemErrorText(error).c_str()),
                        where);
    }
    LOG_INFO_AT_F(failure ? failures : logger, where, "bind IP addr 0x%x (%s) Port: %u Socket %d", INADDR_ANY,
                  anyAddressText().c_str(), unsigned{plan.port}, socket);
    return failure;
}

std::variant<UniqueFd, Failure> openListeningSocket(const ListeningSocketPlan& plan, const log4cxx::LoggerPtr& logger,
                                                    const log4cxx::LoggerPtr& failures, SourceLocation where)
{
    auto bound = bindSocket(plan, failures, where);
    if (const auto* const socket = std::get_if<UniqueFd>(&bound))
    {
        if (auto failure = listenOn(socket->get(), plan, logger, failures, where))
        {
            return *std::move(failure);
        }
    }
    return bound;
}

std::string dottedText(std::uint32_t networkOrderAddress)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    in_addr address{};
    address.s_addr = networkOrderAddress;
    return ::inet_ntop(AF_INET, &address, text.data(), text.size()) != nullptr ? text.data() : "";
}

std::string paddedText(std::uint32_t networkOrderAddress)
{
    const auto bytes = std::bit_cast<std::array<std::uint8_t, 4>>(networkOrderAddress);
    return formatText("%03d.%03d.%03d.%03d", bytes[0], bytes[1], bytes[2], bytes[3]);
}

} // namespace com::tallowcrest::util
