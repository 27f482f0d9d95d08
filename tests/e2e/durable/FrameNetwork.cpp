#include "tests/e2e/durable/FrameNetwork.h"

#include "tests/e2e/durable/NetworkHolder.h"

#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace e2e
{

using testsupport::ChildProcess;

namespace
{

/// Looks for programs where the shell does, and becomes them.
constexpr const char* findsPrograms = "/usr/bin/env";

} // namespace

FrameNetwork::FrameNetwork()
{
    if (std::getenv("KORABRIDGE_IN_NAMESPACE") == nullptr)
    {
        m_problem = "needs a network namespace of its own";
        return;
    }
    build();
}

void FrameNetwork::build()
{
    m_holder = holdNetwork();
    run({"ip", "link", "add", "here", "type", "veth", "peer", "name", "there", "netns",
         std::to_string(m_holder->pid())});
    run({"ip", "addr", "add", std::string(hereAddress) + "/24", "dev", "here"});
    run({"ip", "link", "set", "here", "up"});
    runThere({"ip", "link", "set", "lo", "up"});
    runThere({"ip", "addr", "add", std::string(thereAddress) + "/24", "dev", "there"});
    runThere({"ip", "link", "set", "there", "up"});
    m_thereConfiguration = writeConfiguration("there");
    ::setenv("CYCLONEDDS_URI", writeConfiguration("here").c_str(), 1);
}

std::string FrameNetwork::writeConfiguration(const std::string& interface) const
{
    const std::filesystem::path path = m_directory.path() / (interface + ".xml");
    testsupport::writeFile(
        path, R"(<CycloneDDS><Domain Id="any"><General><Interfaces><NetworkInterface name=")" + interface +
                  R"(" multicast="false"/></Interfaces><AllowMulticast>false</AllowMulticast></General><Discovery>)"
                  R"(<ParticipantIndex>auto</ParticipantIndex><MaxAutoParticipantIndex>20</MaxAutoParticipantIndex>)"
                  R"(<Peers><Peer Address=")" +
                  hereAddress + R"("/><Peer Address=")" + thereAddress +
                  R"("/></Peers></Discovery></Domain></CycloneDDS>)");
    return "file://" + path.string();
}

void FrameNetwork::run(const std::vector<std::string>& command)
{
    ChildProcess process(findsPrograms, command);
    if (process.waitForExit() != 0)
    {
        throw std::runtime_error(command.front() + " failed: " + process.errors());
    }
}

void FrameNetwork::runThere(const std::vector<std::string>& arguments) const
{
    std::vector<std::string> all{"nsenter", "--target", std::to_string(m_holder->pid()), "--net"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    run(all);
}

std::unique_ptr<ChildProcess> FrameNetwork::startThere(const std::filesystem::path& program,
                                                       const std::vector<std::string>& arguments,
                                                       std::map<std::string, std::string> environment) const
{
    std::vector<std::string> all{"nsenter", "--target", std::to_string(m_holder->pid()), "--net", program.string()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    environment["CYCLONEDDS_URI"] = m_thereConfiguration;
    return std::make_unique<ChildProcess>(findsPrograms, all, ChildProcess::Options{std::move(environment), false});
}

void FrameNetwork::setConnected(bool isConnected) const
{
    run({"ip", "link", "set", "here", isConnected ? "up" : "down"});
}

} // namespace e2e
