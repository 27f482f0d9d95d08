#pragma once

#include "tests/e2e/support/BridgeFixture.h"

#include <sys/resource.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace e2e
{

/// The real program where something is missing, and what a test can see of it from outside.
class FaultFixture : public BridgeFixture
{
protected:
    /// Starts the program through a shell, which runs `preparation` first and then becomes the program.
    void startAfter(const std::string& preparation);
    /// The same, as an object of its own.
    static std::unique_ptr<testsupport::ChildProcess> bridgeAfter(const std::string& preparation);

    /// For programs that end without a descriptor or a thread to spare: a sanitizer's leak check needs both.
    static void switchLeakCheckOff();

    /// Limits of the running program; the hard limit stays.
    void setLimit(__rlimit_resource resource, rlim_t value);

    std::size_t descriptorCount() const;
    std::size_t threadCount() const;
    std::size_t virtualMemory() const;
    /// What the program has used of the processors so far.
    std::chrono::milliseconds cpuTime() const;
    /// What it uses from now on, as a share of one processor.
    double processorShare(std::chrono::milliseconds during) const;

    /// True when a controller's take is answered and reaches the router.
    testing::AssertionResult takesReachTheRouter(koraclient::KoraClient& controller, std::uint32_t output);

    static std::size_t countOf(const std::string& text, const std::string& part);

private:
    std::string processFile(const std::string& name) const;
    std::uint32_t m_nextInput = 1;
};

} // namespace e2e
