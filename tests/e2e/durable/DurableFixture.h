#pragma once

#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/StallMeter.h"
#include "tests/support/TempDir.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace e2e
{

/// A bridge whose store the test knows, and that is killed and started again.
class DurableFixture : public BridgeFixture
{
protected:
    explicit DurableFixture(korasim::RouterOptions options = {}) : BridgeFixture(std::move(options)) {}

    /// Starts the program on the test's store; its environment can be added to.
    void startOnStore(std::map<std::string, std::string> environment = {});
    /// Starts it and waits for the controller port and the ranges; the router has announced itself.
    void startJoinedOnStore(std::map<std::string, std::string> environment = {});
    /// The bridge dies without a word.
    void kill();
    /// What was answered this long before a death is promised to be there afterwards, on a machine that has a
    /// processor for the bridge's recorder.
    static constexpr std::chrono::milliseconds lossBound{100};
    /// Waits until what a bridge has answered so far is kept whatever happens to it.
    static void waitOutLossBound(testsupport::ChildProcess& bridge);
    /// A controller takes a video input to an output, and the router hears of it.
    void take(std::uint32_t input, std::uint32_t output);
    /// The router has heard of that target, or does so in time.
    bool hasTarget(std::uint32_t input, std::uint32_t output);
    /// How long the bridge that was just started waited from the first log line of the join to the open controller
    /// port, by its own log; of the time for which there was a processor.
    std::chrono::milliseconds joinTime();
    /// What the sqlite3 library says of the store, and one number out of it.
    std::string storeText(const char* sql) const;
    /// From which row of a store a query is to read: the one of an output that has this input.
    static std::string stored(std::uint32_t input, std::uint32_t output);

    const std::filesystem::path& store() const { return m_store; }
    void setStore(std::filesystem::path store) { m_store = std::move(store); }
    /// What is started from now on in place of korabridge.
    void setProgram(std::filesystem::path program) { m_program = std::move(program); }
    const std::filesystem::path& directory() const { return m_directory.path(); }

private:
    testsupport::StallMeter m_stalls;
    std::chrono::steady_clock::time_point m_started;
    testsupport::TempDir m_directory;
    std::filesystem::path m_store = m_directory.path() / "durable.db";
    std::filesystem::path m_program = testsupport::programPath("korabridge");
};

/// The number in an environment variable, else `otherwise`: long tests take their length from one.
std::size_t numberFromEnvironment(const char* name, std::size_t otherwise);

} // namespace e2e
