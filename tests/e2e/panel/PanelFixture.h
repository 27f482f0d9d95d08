#pragma once

#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/HttpClient.h"
#include "tests/support/TempDir.h"

#include <memory>
#include <string>
#include <vector>

namespace e2e
{

/// The real panel beside the real bridge and a simulated router.
class PanelFixture : public BridgeFixture
{
protected:
    static constexpr std::uint16_t port = 8090;

    PanelFixture() : BridgeFixture() {}
    ~PanelFixture() override;

    /// Starts the panel and waits until it knows the levels.
    void startPanel(std::vector<std::string> arguments = {"--control"});
    /// Starts the panel and waits until it listens.
    void launchPanel(const std::vector<std::string>& arguments);
    /// Makes a token in `tokens`.
    std::string addToken(const std::string& name, const std::string& right);
    std::string file(const std::string& name) const { return (m_directory.path() / name).string(); }
    testsupport::ChildProcess& panel() { return *m_panel; }

    static testsupport::HttpAnswer take(std::uint32_t output, std::uint32_t input,
                                        const testsupport::HttpHeaders& headers = {});

private:
    testsupport::TempDir m_directory;
    std::unique_ptr<testsupport::ChildProcess> m_panel;
};

} // namespace e2e
