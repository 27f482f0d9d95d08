#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace e2e
{

/// A second frame beside the test: a network namespace joined to the test's own by a pair of virtual Ethernet
/// interfaces, and a DDS configuration for each side. Changes the test's namespace and environment, so it needs one of
/// its own (tests/support/in-namespace) and must be made before anything that uses the bus.
class FrameNetwork
{
public:
    static constexpr const char* hereAddress = "10.99.0.1";
    static constexpr const char* thereAddress = "10.99.0.2";

    FrameNetwork();

    /// Empty when all is well; else why there is no second frame.
    const std::string& problem() const { return m_problem; }
    /// Starts a program in the second frame.
    std::unique_ptr<testsupport::ChildProcess> startThere(const std::filesystem::path& program,
                                                          const std::vector<std::string>& arguments,
                                                          std::map<std::string, std::string> environment) const;
    /// Pulls the cable, or plugs it in again.
    void setConnected(bool isConnected) const;

private:
    void build();
    static void run(const std::vector<std::string>& command);
    void runThere(const std::vector<std::string>& arguments) const;
    std::string writeConfiguration(const std::string& interface) const;

    testsupport::TempDir m_directory;
    std::unique_ptr<testsupport::ChildProcess> m_holder; ///< its network namespace is the second frame
    std::string m_thereConfiguration;
    std::string m_problem;
};

} // namespace e2e
