#include "tests/e2e/durable/PlantNetwork.h"

#include "tests/e2e/durable/NetworkHolder.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <utility>

namespace e2e
{

using com::tallowcrest::util::UniqueFd;
using testsupport::ChildProcess;

namespace
{

constexpr const char* interface = "plant";

} // namespace

PlantNetwork::PlantNetwork(std::size_t frames, std::uint64_t seed)
{
    if (std::getenv("KORABRIDGE_IN_NAMESPACE") == nullptr)
    {
        m_problem = "needs a network namespace of its own";
        return;
    }
    if (::access("/dev/net/tun", R_OK | W_OK) != 0)
    {
        m_problem = "may not make network interfaces (/dev/net/tun)";
        return;
    }
    build(frames, seed);
}

void PlantNetwork::build(std::size_t frames, std::uint64_t seed)
{
    std::vector<UniqueFd> ports;
    for (std::size_t frame = 0; frame < frames; ++frame)
    {
        if (frame > 0)
        {
            m_holders.push_back(holdNetwork());
            runIn(frame, {"ip", "link", "set", "lo", "up"});
        }
        ports.push_back(makeInterface(frame));
        runIn(frame, {"ip", "addr", "add", address(frame) + "/24", "dev", interface});
        runIn(frame, {"ip", "link", "set", interface, "up"});
    }
    ::setenv("CYCLONEDDS_URI", writeConfiguration(frames).c_str(), 1);
    m_switch = std::make_unique<BadSwitch>(std::move(ports), seed);
}

/// The interface of a frame; what is written to the descriptor arrives there.
UniqueFd PlantNetwork::makeInterface(std::size_t frame) const
{
    UniqueFd made;
    std::string failure;
    // A thread can be in another namespace than its process.
    std::thread maker([&] {
        if (frame > 0)
        {
            const std::string path = "/proc/" + std::to_string(m_holders[frame - 1]->pid()) + "/ns/net";
            const UniqueFd there(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
            if (::setns(there.get(), CLONE_NEWNET) != 0)
            {
                failure = "cannot enter " + path;
                return;
            }
        }
        made.reset(::open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC));
        ifreq request{};
        std::string(interface).copy(request.ifr_name, sizeof(request.ifr_name) - 1);
        request.ifr_flags = IFF_TAP | IFF_NO_PI;
        if (::ioctl(made.get(), TUNSETIFF, &request) != 0)
        {
            failure = "cannot make a network interface";
        }
    });
    maker.join();
    if (!failure.empty())
    {
        throw std::runtime_error(failure);
    }
    return made;
}

std::vector<std::string> PlantNetwork::inFrame(std::size_t frame) const
{
    if (frame == 0)
    {
        return {};
    }
    return {"nsenter", "--target", std::to_string(m_holders[frame - 1]->pid()), "--net"};
}

void PlantNetwork::runIn(std::size_t frame, const std::vector<std::string>& command) const
{
    std::vector<std::string> all = inFrame(frame);
    all.insert(all.end(), command.begin(), command.end());
    ChildProcess process("/usr/bin/env", all);
    if (process.waitForExit() != 0)
    {
        throw std::runtime_error(command.front() + " failed: " + process.errors());
    }
}

std::string PlantNetwork::writeConfiguration(std::size_t frames) const
{
    std::string peers;
    for (std::size_t frame = 0; frame < frames; ++frame)
    {
        peers += "<Peer Address=\"" + address(frame) + "\"/>";
    }
    const std::filesystem::path path = m_directory.path() / "plant.xml";
    testsupport::writeFile(
        path, std::string(R"(<CycloneDDS><Domain Id="any"><General><Interfaces><NetworkInterface name=")") + interface +
                  R"(" multicast="false"/></Interfaces><AllowMulticast>false</AllowMulticast></General><Discovery>)"
                  R"(<ParticipantIndex>auto</ParticipantIndex><MaxAutoParticipantIndex>8</MaxAutoParticipantIndex>)"
                  R"(<Peers>)" +
                  peers + "</Peers></Discovery></Domain></CycloneDDS>");
    return "file://" + path.string();
}

std::unique_ptr<ChildProcess> PlantNetwork::start(std::size_t frame, const std::filesystem::path& program,
                                                  const std::vector<std::string>& arguments,
                                                  std::map<std::string, std::string> environment) const
{
    std::vector<std::string> all = inFrame(frame);
    all.push_back(program.string());
    all.insert(all.end(), arguments.begin(), arguments.end());
    return std::make_unique<ChildProcess>("/usr/bin/env", all, ChildProcess::Options{std::move(environment), false});
}

} // namespace e2e
