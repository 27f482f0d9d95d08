#pragma once

#include "runtime/util/UniqueFd.h"
#include "tests/e2e/durable/BadSwitch.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace e2e
{

/// Several frames on one switch that can be made bad. Each is a network namespace of its own, the first one the test's;
/// changes the environment too, so it needs a namespace of its own (tests/support/in-namespace) and must be made before
/// anything that uses the bus.
class PlantNetwork
{
public:
    PlantNetwork(std::size_t frames, std::uint64_t seed);

    /// Empty when all is well; else why there is no such network.
    const std::string& problem() const { return m_problem; }
    BadSwitch& cables() { return *m_switch; }
    static std::string address(std::size_t frame) { return "10.98.0." + std::to_string(frame + 1); }
    /// Starts a program in a frame but the first.
    std::unique_ptr<testsupport::ChildProcess> start(std::size_t frame, const std::filesystem::path& program,
                                                     const std::vector<std::string>& arguments,
                                                     std::map<std::string, std::string> environment) const;

private:
    void build(std::size_t frames, std::uint64_t seed);
    com::tallowcrest::util::UniqueFd makeInterface(std::size_t frame) const;
    void runIn(std::size_t frame, const std::vector<std::string>& command) const;
    std::vector<std::string> inFrame(std::size_t frame) const;
    std::string writeConfiguration(std::size_t frames) const;

    testsupport::TempDir m_directory;
    std::vector<std::unique_ptr<testsupport::ChildProcess>> m_holders; ///< whose network namespaces the others are
    std::string m_problem;
    std::unique_ptr<BadSwitch> m_switch;
};

} // namespace e2e
