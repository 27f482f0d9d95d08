#include "tests/e2e/security/SecuredBus.h"

#include "tests/support/Places.h"

#include <cstdlib>
#include <regex>
#include <stdexcept>

namespace e2e
{

using testsupport::ChildProcess;

SecuredBus::SecuredBus()
{
    makeCertificates(m_directory.path() / "bus", {"bridge=frame17", "router=router1", "monitor=desk"});
}

void SecuredBus::makeCertificates(const std::filesystem::path& directory, const std::vector<std::string>& participants,
                                  std::map<std::string, std::string> environment)
{
    std::vector<std::string> arguments{directory.string()};
    arguments.insert(arguments.end(), participants.begin(), participants.end());
    ChildProcess script(testsupport::sourceFolder() / "scripts/make-bus-certificates", arguments,
                        {std::move(environment), true});
    if (script.waitForExit() != 0)
    {
        throw std::runtime_error("make-bus-certificates: " + script.errors());
    }
}

SecuredBus::Child SecuredBus::startInside(const std::string& program, const std::vector<std::string>& arguments,
                                          const std::filesystem::path& certificates,
                                          std::map<std::string, std::string> environment, Conduct conduct) const
{
    std::filesystem::path configuration = testsupport::sourceFolder() / "config/security/cyclonedds-security.xml";
    if (conduct == Conduct::Hostile)
    {
        const std::string plugins = (testsupport::buildFolder() / "tests/libhostile_plugins.so").string();
        std::string text = testsupport::readFile(configuration);
        text = std::regex_replace(text, std::regex("\"dds_security_(ac|crypto)\""), '"' + plugins + '"');
        text = std::regex_replace(text, std::regex("(init|finalize)_access_control"), "$1_lenient_access_control");
        text = std::regex_replace(text, std::regex("(init|finalize)_crypto"), "$1_forging_crypto");
        configuration = m_directory.path() / "hostile.xml";
        testsupport::writeFile(configuration, text);
        environment["KORABRIDGE_TEST_FORGE"] = forgeFile().string();
    }
    const char* const plain = std::getenv("CYCLONEDDS_URI");
    environment["CYCLONEDDS_URI"] = std::string(plain != nullptr ? plain : "") + ",file://" + configuration.string();
    environment["KORABRIDGE_BUS_SECURITY"] = certificates.string();
    return std::make_unique<ChildProcess>(testsupport::programPath(program), arguments,
                                          ChildProcess::Options{std::move(environment), false});
}

void SecuredBus::startSecuredBridge()
{
    // Of the test's own, so that no case finds what another has taken.
    m_bridge = startInside("korabridge", {"17", "3", "Bridge One", "bridge under test"}, certificatesOf("frame17"),
                           {{"KORABRIDGE_DURABLE_STORE", (m_directory.path() / "first.db").string()}});
}

SecuredBus::Child SecuredBus::startSecuredRouter(const std::string& partition) const
{
    return startInside("korasim", {"--frame", "17", "--partition", partition}, certificatesOf("router1"));
}

testing::AssertionResult SecuredBus::takes(koraclient::KoraClient& controller, std::uint32_t output,
                                           std::uint32_t input)
{
    std::vector<std::uint32_t> results;
    if (!testsupport::waitUntil([&] {
            results = controller.take({{.level = videoLevel, .lprId = 42, .input = input, .output = output}});
            return results == std::vector<std::uint32_t>{0};
        }))
    {
        return testing::AssertionFailure() << "take refused with " << testing::PrintToString(results);
    }
    return testing::AssertionSuccess();
}

} // namespace e2e
