#pragma once

#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/TempDir.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace e2e
{

/// The shipped security configuration with certificates of the test's own, made by the shipped script. What the fixture
/// itself holds, `router()`, has no certificate: it is the outsider.
class SecuredBus : public BridgeFixture
{
protected:
    using Child = std::unique_ptr<testsupport::ChildProcess>;

    SecuredBus();

    /// Makes certificates below a directory; each participant is "role=name".
    static void makeCertificates(const std::filesystem::path& directory, const std::vector<std::string>& participants,
                                 std::map<std::string, std::string> environment = {});
    std::filesystem::path certificatesOf(const std::string& name) const { return m_directory.path() / "bus" / name; }

    /// How a program uses its certificates.
    enum class Conduct
    {
        Rightful,
        Hostile ///< makes readers and writers that its permissions forbid, and forges while `forgeFile` exists
    };

    /// Starts a program as one who has the certificates in `certificates`.
    Child startInside(const std::string& program, const std::vector<std::string>& arguments,
                      const std::filesystem::path& certificates, std::map<std::string, std::string> environment = {},
                      Conduct conduct = Conduct::Rightful) const;
    /// The bridge, inside the secured domain as "frame17".
    void startSecuredBridge();
    /// A simulated router inside, that takes its commands from its input.
    Child startSecuredRouter(const std::string& partition) const;
    std::filesystem::path forgeFile() const { return m_directory.path() / "forge"; }
    /// Waits until a take is permitted, which says that the ranges have come.
    static testing::AssertionResult takes(koraclient::KoraClient& controller, std::uint32_t output,
                                          std::uint32_t input);

    testsupport::TempDir m_directory;
};

} // namespace e2e
