#pragma once

#include "tests/e2e/faults/FaultFixture.h"
#include "tests/support/TempDir.h"

#include <filesystem>
#include <string>

namespace e2e
{

std::filesystem::path shippedLogConfiguration();

/// The program with the shipped log configuration in its place, and its log on a disk of its own.
class ShippedLogFixture : public FaultFixture
{
protected:
    void SetUp() override;

    /// Starts the program, announces the router and waits until controllers can connect.
    void startWithShippedLog(const std::string& diskSize,
                             const std::filesystem::path& configuration = shippedLogConfiguration(),
                             const std::string& name = "Bridge One");

    /// /var/log and the log's directory below it, as the program sees them.
    std::filesystem::path logDirectory();
    std::string logText();
    bool waitForLog(const std::string& text);

private:
    testsupport::TempDir m_directory;
};

} // namespace e2e
