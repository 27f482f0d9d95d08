// Who is let in, and who may press.
#include "tests/e2e/panel/PanelFixture.h"

#include <sys/stat.h>

#include <csignal>

using namespace e2e;
using testsupport::EventStream;
using testsupport::httpGet;
using testsupport::HttpHeaders;
using testsupport::httpPost;
using testsupport::httpRequest;

namespace
{

const HttpHeaders json{{"Content-Type", "application/json"}};

/// A panel that needs no bridge: nobody is asked anything before it is clear who asks.
class AccessTest : public PanelFixture
{
protected:
    void launch(std::vector<std::string> more = {})
    {
        more.insert(more.end(), {"--control", "--tokens", file("tokens")});
        launchPanel(more);
    }

    static HttpHeaders bearer(const std::string& token) { return {{"Authorization", "Bearer " + token}}; }
    static std::string cookieOf(const testsupport::HttpAnswer& answer)
    {
        const std::string cookie = answer.headers.at("set-cookie");
        return cookie.substr(0, cookie.find(';'));
    }
    static testsupport::HttpAnswer signIn(const std::string& token)
    {
        return httpPost(port, "/api/session", "{\"token\":\"" + token + "\"}");
    }
};

} // namespace

TEST_F(AccessTest, NoTokenSeesNothingButThePageAndTheDescription)
{
    const std::string token = addToken("anna", "control");
    ASSERT_NO_FATAL_FAILURE(launch());

    for (const char* const path :
         {"/api/state", "/api/levels", "/api/events", "/metrics", "/api/session", "/api/other"})
    {
        EXPECT_EQ(httpGet(port, path).status, 401) << path;
    }
    EXPECT_EQ(take(3, 7).status, 401);
    EXPECT_EQ(httpGet(port, "/api/openapi.json").status, 200);
    EXPECT_EQ(httpGet(port, "/api/state", bearer(token)).status, 200);
}

TEST_F(AccessTest, WrongTokenIsRefusedLoggedAndHasToWait)
{
    const std::string token = addToken("anna", "control");
    ASSERT_NO_FATAL_FAILURE(launch());

    EXPECT_EQ(signIn("anna.wrong").status, 401);
    EXPECT_TRUE(panel().waitForErrors("korapanel: wrong token from 127.0.0.1 for anna\n")) << panel().errors();
    const auto next = signIn(token);
    EXPECT_EQ(next.status, 429);
    EXPECT_GE(std::stoi(next.headers.at("retry-after")), 1);
    EXPECT_TRUE(testsupport::waitUntil([&] { return signIn(token).status == 200; }));
}

TEST_F(AccessTest, SessionIsACookieThatScriptsAndOtherSitesDoNotGet)
{
    const std::string token = addToken("anna", "control");
    ASSERT_NO_FATAL_FAILURE(launch());

    const auto answer = signIn(token);

    ASSERT_EQ(answer.status, 200) << answer.body;
    EXPECT_NE(answer.headers.at("set-cookie").find("; HttpOnly; SameSite=Strict;"), std::string::npos);
    EXPECT_NE(answer.body.find(R"({"name":"anna","control":true,"expires":)"), std::string::npos) << answer.body;
    const HttpHeaders cookie{{"Cookie", cookieOf(answer)}};
    EXPECT_EQ(httpGet(port, "/api/state", cookie).status, 200);
    EXPECT_EQ(httpGet(port, "/api/state", {{"Cookie", "korapanel=x"}}).status, 401);
    EventStream stream(port, cookie);
    ASSERT_TRUE(stream.waitFor("event: resync\n"));
    EXPECT_EQ(httpRequest(port, "DELETE", "/api/session", cookie).status, 200);
    EXPECT_EQ(httpGet(port, "/api/state", cookie).status, 401);
    EXPECT_TRUE(stream.waitForEnd());
}

TEST_F(AccessTest, SessionThroughAProxyThatSpeaksTlsIsForTlsAlone)
{
    const std::string token = addToken("anna", "control");
    ASSERT_NO_FATAL_FAILURE(launch({"--name", "panel.example"}));
    HttpHeaders headers = json;
    headers["Host"] = "panel.example";
    const std::string body = "{\"token\":\"" + token + "\"}";

    headers["Origin"] = "https://panel.example";
    const std::string behindTls = httpRequest(port, "POST", "/api/session", headers, body).headers.at("set-cookie");
    headers["Origin"] = "http://panel.example";
    const std::string without = httpRequest(port, "POST", "/api/session", headers, body).headers.at("set-cookie");

    EXPECT_TRUE(behindTls.ends_with("; Secure")) << behindTls;
    EXPECT_EQ(without.find("Secure"), std::string::npos) << without;
}

TEST_F(AccessTest, SessionExpiresAndItsStreamEnds)
{
    const std::string token = addToken("anna", "control");
    ASSERT_NO_FATAL_FAILURE(launch({"--session", "2s"}));
    const HttpHeaders cookie{{"Cookie", cookieOf(signIn(token))}};
    EventStream stream(port, cookie);
    ASSERT_TRUE(stream.waitFor("event: resync\n")) << stream.text();

    EXPECT_TRUE(testsupport::waitUntil([&] { return httpGet(port, "/api/state", cookie).status == 401; }));
    EXPECT_TRUE(stream.waitForEnd());
}

TEST_F(AccessTest, TokenThatMayReadPressesNothing)
{
    const std::string token = addToken("eva", "read");
    ASSERT_NO_FATAL_FAILURE(launch());

    EXPECT_EQ(httpGet(port, "/api/session", bearer(token)).body, R"({"name":"eva","control":false,"expires":null})");
    const auto answer = take(3, 7, bearer(token));
    EXPECT_EQ(answer.status, 403);
    EXPECT_NE(answer.body.find("read-only"), std::string::npos) << answer.body;
}

TEST_F(AccessTest, WithoutControlNobodyPresses)
{
    ASSERT_NO_FATAL_FAILURE(launchPanel({}));

    EXPECT_EQ(take(3, 7).status, 403);
    EXPECT_EQ(httpGet(port, "/api/session").body, R"({"name":"local","control":false,"expires":null})");
}

TEST_F(AccessTest, TokenThatIsTakenOutOfTheFileIsRefusedAtOnce)
{
    const std::string token = addToken("anna", "control");
    ASSERT_NO_FATAL_FAILURE(launch());
    const HttpHeaders cookie{{"Cookie", cookieOf(signIn(token))}};
    ASSERT_EQ(httpGet(port, "/api/state", bearer(token)).status, 200);
    testsupport::writeFile(file("tokens"), "");

    EXPECT_EQ(httpGet(port, "/api/state", cookie).status, 401);
    EXPECT_EQ(httpGet(port, "/api/state", bearer(token)).status, 401);
}

TEST_F(AccessTest, TokenFileIsItsOwnersAloneAndHoldsNoToken)
{
    const std::string token = addToken("anna", "control");
    struct stat found
    {};
    ASSERT_EQ(::stat(file("tokens").c_str(), &found), 0);

    EXPECT_EQ(found.st_mode & 0777U, 0600U);
    EXPECT_EQ(testsupport::readFile(file("tokens")).find(token.substr(5)), std::string::npos);
}

TEST_F(AccessTest, OtherPagesAndOtherNamesPressNothing)
{
    ASSERT_NO_FATAL_FAILURE(launchPanel({"--control", "--name", "panel.example"}));

    EXPECT_EQ(take(3, 7, {{"Origin", "http://evil.example"}}).status, 403);
    EXPECT_EQ(take(3, 7, {{"Origin", "http://127.0.0.1:9999"}}).status, 403);
    EXPECT_EQ(take(3, 7, {{"Origin", "null"}}).status, 403);
    EXPECT_EQ(take(3, 7, {{"Host", "evil.example"}}).status, 403);
    EXPECT_EQ(httpGet(port, "/api/state", {{"Host", "evil.example"}}).status, 403);
    EXPECT_EQ(take(3, 7, {{"Content-Type", "text/plain"}}).status, 403);
    // Only the bridge is missing now.
    EXPECT_EQ(take(3, 7, {{"Origin", "http://127.0.0.1:8090"}}).status, 503);
    EXPECT_EQ(take(3, 7, {{"Host", "panel.example"}, {"Origin", "https://panel.example"}}).status, 503);
}

TEST_F(AccessTest, AddressThatOthersReachNeedsTokens)
{
    for (const char* const address : {"0.0.0.0", "[::]:8090", "10.1.2.3"})
    {
        testsupport::ChildProcess sut(testsupport::programPath("korapanel"), {"--listen", address});
        EXPECT_EQ(sut.waitForExit(), 2) << address;
        EXPECT_NE(sut.errors().find("needs a file of tokens (--tokens)\n"), std::string::npos) << sut.errors();
    }
}

TEST_F(AccessTest, LargeBodyIsRefusedAndForgotten)
{
    ASSERT_NO_FATAL_FAILURE(launchPanel({"--control"}));

    EXPECT_EQ(httpPost(port, "/api/takes", std::string(600UL * 1024, ' ')).status, 413);
    EXPECT_EQ(httpPost(port, "/api/takes", "{").status, 400);
    EXPECT_EQ(httpPost(port, "/api/takes", std::string(100'000, '[')).status, 400);
    EXPECT_EQ(httpGet(port, "/api/state").status, 200);
}

TEST_F(AccessTest, EveryAnswerCarriesThePolicy)
{
    ASSERT_NO_FATAL_FAILURE(launchPanel({}));

    for (const char* const path : {"/", "/page/app.js", "/api/state", "/api/none", "/metrics"})
    {
        const auto answer = httpGet(port, path);
        EXPECT_TRUE(answer.headers.at("content-security-policy").starts_with("default-src 'none'; ")) << path;
        EXPECT_EQ(answer.headers.at("content-security-policy").find("unsafe"), std::string::npos) << path;
        EXPECT_EQ(answer.headers.at("x-content-type-options"), "nosniff") << path;
        EXPECT_EQ(answer.headers.at("referrer-policy"), "no-referrer") << path;
        EXPECT_EQ(answer.headers.count("cache-control"), 1U) << path;
    }
}
