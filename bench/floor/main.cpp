// The floor that the bridge is measured against: the same threads and hand-offs (a thread for each controller, one
// apartment, a mutex and a condition variable each way), the same socket options and the same bus entities, one write
// for each entry; no tables, no checks, no log. What the bridge costs beyond this is its own doing.

#include "bench/floor/Floor.h"
#include "bustypes/TopicNames.h"
#include "koraserver/ControllerSocket.h"
#include "runtime/apartment/ThreadPriority.h"
#include "runtime/apartment/ThreadTurns.h"
#include "runtime/util/SystemError.h"

#include <CLI/CLI.hpp>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using com::tallowcrest::apartment::Turns;
using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::util::SocketOption;
using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

struct Options
{
    std::uint16_t port = 5195;
    std::uint32_t domain = DDS_DOMAIN_DEFAULT;
    std::string partition = "R1";
    bool isVideo = false;
    bool isBlocking = false;
    bool isPreferred = false;
    bool isGathering = false;
};

void applyOptions(int socket, std::span<const SocketOption> options)
{
    if (const auto failure = applySocketOptions(socket, options))
    {
        throw std::runtime_error(std::string("socket option refused: ") + failure->text);
    }
}

UniqueFd listenOn(std::uint16_t port)
{
    UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    applyOptions(fd.get(), listeningOptions);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    {
        throw std::runtime_error("cannot bind port " + std::to_string(port) + ": " + systemErrorText());
    }
    applyOptions(fd.get(), boundOptions);
    constexpr int backlog = 16;
    if (::listen(fd.get(), backlog) != 0)
    {
        throw std::runtime_error("cannot listen: " + systemErrorText());
    }
    return fd;
}

void acceptControllers(int listening, bench::FloorApartment& apartment, bench::Receive receive)
{
    std::vector<std::unique_ptr<bench::FloorConnection>> connections;
    for (;;)
    {
        UniqueFd socket(::accept(listening, nullptr, nullptr));
        std::erase_if(connections, [](const auto& connection) { return !connection->isRunning(); });
        if (!socket.isOpen())
        {
            return; // shut down
        }
        applyOptions(socket.get(), acceptedOptions);
        connections.push_back(std::make_unique<bench::FloorConnection>(std::move(socket), apartment, receive));
    }
}

/// Gives the calling thread the bridge's preference. A floor without it would be measured for one that has it.
void preferThisThread()
{
    const int before = ::getpriority(PRIO_PROCESS, 0);
    com::tallowcrest::apartment::preferThisThread();
    if (::getpriority(PRIO_PROCESS, 0) >= before)
    {
        throw std::runtime_error("--preferred needs the right to go before others (CAP_SYS_NICE or RLIMIT_NICE)");
    }
}

void run(const Options& options, const sigset_t& signals)
{
    const dds_entity_t participant =
        dds::detail::check(dds_create_participant(options.domain, nullptr, nullptr), "creating the participant");
    {
        if (options.isPreferred)
        {
            preferThisThread(); // which the apartment's thread inherits
        }
        bench::FloorApartment apartment(bench::Writer<bench::Output>(
            participant,
            topicName(options.isVideo ? TopicName::MacroXptOutputVideoTarget : TopicName::MacroXptOutputAudioTarget),
            options.partition, DDS_DURABILITY_PERSISTENT,
            options.isGathering ? bench::Sending::Together : bench::Sending::AtOnce));
        com::tallowcrest::apartment::preferThisThread(false);
        const UniqueFd listening = listenOn(options.port);
        std::thread accepting([&] {
            if (options.isPreferred)
            {
                takeTurns(Turns::Short); // which the connections' threads inherit
            }
            acceptControllers(listening.get(), apartment,
                              options.isBlocking ? bench::Receive::Blocking : bench::Receive::Timed);
        });
        int signal = 0;
        sigwait(&signals, &signal);
        static_cast<void>(::shutdown(listening.get(), SHUT_RDWR));
        accepting.join();
    }
    static_cast<void>(dds_delete(participant));
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("The floor that the bridge is measured against.", "bench_floor");
    app.add_option("--port", options.port, "Port for controllers")->capture_default_str();
    app.add_option("--domain", options.domain, "DDS domain [as configured]");
    app.add_option("--partition", options.partition, "Router partition")->capture_default_str();
    app.add_flag("--video", options.isVideo, "Write video targets instead of audio targets");
    app.add_flag("--gathering", options.isGathering, "Send the entries of a message together");
    app.add_flag("--blocking", options.isBlocking, "Receive without the timer of 10 ms");
    app.add_flag("--preferred", options.isPreferred,
                 "The apartment goes first and connections take short turns, as the bridge's do");
    CLI11_PARSE(app, argc, argv);

    // Before any thread is made, so that the signals reach sigwait alone.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    try
    {
        run(options, signals);
    }
    catch (const std::exception& error)
    {
        std::cerr << "bench_floor: " << error.what() << std::endl;
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
