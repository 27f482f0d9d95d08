#include "tests/e2e/panel/PanelFixture.h"

#include <iostream>

namespace e2e
{

using testsupport::ChildProcess;

PanelFixture::~PanelFixture()
{
    if (HasFailure() && m_panel)
    {
        std::cerr << "--- panel output\n" << m_panel->output() << "--- panel errors\n" << m_panel->errors();
    }
}

void PanelFixture::launchPanel(const std::vector<std::string>& arguments)
{
    m_panel = std::make_unique<ChildProcess>(testsupport::programPath("korapanel"), arguments);
    ASSERT_TRUE(m_panel->waitForOutput("korapanel: listening on ")) << m_panel->errors();
}

void PanelFixture::startPanel(std::vector<std::string> arguments)
{
    ASSERT_NO_FATAL_FAILURE(launchPanel(arguments));
    ASSERT_TRUE(testsupport::waitUntil([] {
        return testsupport::httpGet(port, "/api/levels/2/outputs").body.find("\"output\":2304,") != std::string::npos;
    }));
}

std::string PanelFixture::addToken(const std::string& name, const std::string& right)
{
    ChildProcess program(testsupport::programPath("korapanel"),
                         {"token", "add", name, "--" + right, "--tokens", file("tokens")});
    EXPECT_EQ(program.waitForExit(), 0) << program.errors();
    std::string token = program.output();
    token.erase(token.find_last_not_of('\n') + 1);
    return token;
}

testsupport::HttpAnswer PanelFixture::take(std::uint32_t output, std::uint32_t input,
                                           const testsupport::HttpHeaders& headers)
{
    return testsupport::httpPost(port, "/api/takes",
                                 "{\"takes\":[{\"level\":1,\"output\":" + std::to_string(output) +
                                     ",\"input\":" + std::to_string(input) + "}]}",
                                 headers);
}

} // namespace e2e
