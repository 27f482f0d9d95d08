#include "tests/e2e/panel/PanelFixture.h"

using namespace e2e;
using testsupport::ChildProcess;

namespace
{

class TlsTest : public PanelFixture
{
protected:
    void SetUp() override
    {
        ChildProcess openssl("/usr/bin/openssl",
                             {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", file("key"), "-out",
                              file("certificate"), "-days", "2", "-subj", "/CN=localhost"});
        ASSERT_EQ(openssl.waitForExit(), 0) << openssl.errors();
    }

    /// What the panel answers behind TLS to a request.
    std::string ask(const std::string& request) const
    {
        ChildProcess client("/usr/bin/openssl", {"s_client", "-quiet", "-verify_return_error", "-CAfile",
                                                 file("certificate"), "-connect", "127.0.0.1:" + std::to_string(port)});
        client.write(request);
        EXPECT_TRUE(client.waitForExit()) << client.errors();
        return client.output();
    }
};

} // namespace

TEST_F(TlsTest, GivenCertificateAnswersBehindTlsAloneAndMarksItsCookie)
{
    const std::string token = addToken("anna", "read");
    ASSERT_NO_FATAL_FAILURE(launchPanel({"--tls-cert", file("certificate"), "--tls-key", file("key"), "--tokens",
                                         file("tokens"), "--listen", "0.0.0.0"}));
    EXPECT_TRUE(panel().waitForOutput("korapanel: listening on https://0.0.0.0:8090, read-only\n"));

    const std::string answer = ask(testsupport::httpText(
        port, "POST", "/api/session", {{"Content-Type", "application/json"}, {"Connection", "close"}},
        "{\"token\":\"" + token + "\"}"));

    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n")) << answer;
    EXPECT_NE(answer.find("; Secure\r\n"), std::string::npos) << answer;
    EXPECT_EQ(testsupport::httpGet(port, "/api/state").status, 0);
}

TEST_F(TlsTest, GivenKeyThatIsNoneDoesNotStart)
{
    ChildProcess sut(testsupport::programPath("korapanel"),
                     {"--tls-cert", file("certificate"), "--tls-key", file("certificate")});

    EXPECT_EQ(sut.waitForExit(), 3);
    EXPECT_NE(sut.errors().find("korapanel: the server cannot start: is the certificate with its key whole?\n"),
              std::string::npos)
        << sut.errors();
}
