// Every answer is what the panel's own description says.
#include "tests/e2e/panel/PanelFixture.h"
#include "tests/e2e/panel/Schema.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <set>
#include <sstream>

using namespace e2e;
using nlohmann::json;
using testsupport::EventStream;
using testsupport::httpGet;
using testsupport::HttpHeaders;
using testsupport::httpRequest;

namespace
{

class DescriptionTest : public PanelFixture
{
protected:
    /// Asks and checks the answer; `path` as it is described, `actual` as it is asked for.
    testsupport::HttpAnswer ask(const std::string& method, const std::string& path, const std::string& actual,
                                int wantedStatus, HttpHeaders headers = {}, const std::string& body = {})
    {
        headers.emplace("Content-Type", "application/json");
        const auto answer = httpRequest(port, method, actual, headers, body);
        EXPECT_EQ(answer.status, wantedStatus) << method << " " << actual << answer.body;
        std::string word = method;
        std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::tolower(c); });
        const json& operation = m_document.at("paths").at(path).at(word);
        const auto described = operation.at("responses").find(std::to_string(answer.status));
        EXPECT_NE(described, operation.at("responses").end()) << method << " " << path << " " << answer.status;
        if (described == operation.at("responses").end())
        {
            return answer;
        }
        const std::string type = answer.headers.at("content-type");
        const std::string plain = type.substr(0, type.find(';'));
        EXPECT_TRUE(described->at("content").contains(plain)) << method << " " << path << ": " << type;
        if (plain == "application/json")
        {
            EXPECT_EQ(faultOf(json::parse(answer.body), described->at("content").at(plain).at("schema"), m_document),
                      "")
                << method << " " << actual << ": " << answer.body.substr(0, 300);
        }
        if (answer.status == 200)
        {
            m_asked.insert(word + " " + path);
        }
        return answer;
    }

    /// Every operation that is described.
    std::set<std::string> described() const
    {
        std::set<std::string> all;
        for (const auto& [path, operations] : m_document.at("paths").items())
        {
            for (const auto& [method, operation] : operations.items())
            {
                all.insert(method + " " + path);
            }
        }
        return all;
    }

    /// What is described of no path of its own: an unknown path, and a method that a path does not have.
    void expectRefusalsOfPathAndMethod(const HttpHeaders& headers)
    {
        const auto isError = [&](const testsupport::HttpAnswer& answer) {
            return faultOf(json::parse(answer.body), m_document.at("components").at("schemas").at("Error"), m_document);
        };
        const auto unknown = httpRequest(port, "GET", "/api/nothing", headers, {});
        EXPECT_EQ(unknown.status, 404);
        EXPECT_EQ(isError(unknown), "") << unknown.body;
        for (const auto& [path, operations] : m_document.at("paths").items())
        {
            std::string actual = path;
            for (const auto& [place, value] : {std::pair{"{level}", "1"}, std::pair{"{name}", "studio-a"}})
            {
                if (const auto at = actual.find(place); at != std::string::npos)
                {
                    actual.replace(at, std::string(place).size(), value);
                }
            }
            const auto answer = httpRequest(port, "PATCH", actual, headers, {});
            EXPECT_EQ(answer.status, 405) << path;
            EXPECT_EQ(isError(answer), "") << path << ": " << answer.body;
            std::string allowed;
            for (const char* const method : {"get", "post", "delete"})
            {
                if (operations.contains(method))
                {
                    allowed += (allowed.empty() ? "" : ", ") + upper(method);
                }
            }
            EXPECT_EQ(answer.headers.at("allow"), allowed) << path;
        }
    }
    static std::string upper(std::string word)
    {
        std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::toupper(c); });
        return word;
    }

    /// The schema of a stream's event.
    static std::string schemaOf(const std::string& event)
    {
        return event == "state"    ? "State"
               : event == "levels" ? "Levels"
               : event == "press"  ? "Press"
               : event == "resync" ? "Nothing"
                                   : "Outputs";
    }

    json m_document;
    std::set<std::string> m_asked;
};

} // namespace

TEST_F(DescriptionTest, EveryAnswerIsAsDescribed)
{
    const std::string token = addToken("anna", "control");
    const std::string reader = addToken("eva", "read");
    testsupport::writeFile(file("names"), "level 1 video\ninput 7 CAM <7>\noutput 3 MON \xc3\xa4\n");
    testsupport::writeFile(file("studio-a"), "koractl-backup 1\nlevel 1\noutput 3 input 8 locked by 5\n");
    ASSERT_NO_FATAL_FAILURE(startJoined());
    ASSERT_NO_FATAL_FAILURE(
        launchPanel({"--control", "--tokens", file("tokens"), "--names", file("names"), "--salvos", file(".")}));
    const HttpHeaders may{{"Authorization", "Bearer " + token}};
    ASSERT_TRUE(testsupport::waitUntil([&] {
        return httpGet(port, "/api/levels/2/outputs", may).body.find("\"output\":2304,") != std::string::npos;
    }));
    m_document = json::parse(httpGet(port, "/api/openapi.json").body);
    expectRefusalsOfPathAndMethod(may);

    const std::string takes =
        R"({"coherent":true,"takes":[{"level":1,"output":3,"input":7},{"level":9,"output":1,"input":1}]})";
    const std::string locks =
        R"({"locks":[{"level":1,"output":4,"action":"protect"},{"level":1,"output":4,"action":"release"}]})";
    EventStream stream(port, may);
    ASSERT_TRUE(stream.waitFor("event: resync\n"));
    ask("GET", "/api/openapi.json", "/api/openapi.json", 200);
    ask("POST", "/api/takes", "/api/takes", 200, may, takes);
    ask("POST", "/api/locks", "/api/locks", 200, may, locks);
    ask("GET", "/api/salvos", "/api/salvos", 200, may);
    ask("GET", "/api/salvos/{name}", "/api/salvos/studio-a", 200, may);
    ask("GET", "/api/salvos/{name}", "/api/salvos/nothing", 404, may);
    ask("POST", "/api/salvos/{name}/takes", "/api/salvos/studio-a/takes", 200, may, "{}");
    ask("POST", "/api/salvos/{name}/takes", "/api/salvos/nothing/takes", 404, may, "{}");
    for (const char* const path :
         {"/api/state", "/api/levels", "/api/names", "/api/history", "/api/session", "/metrics"})
    {
        ask("GET", path, path, 200, may);
        ask("GET", path, path, 401);
        ask("GET", path, path, 403, {{"Host", "evil.example"}});
    }
    ask("GET", "/api/levels/{level}/outputs", "/api/levels/1/outputs", 200, may);
    ask("GET", "/api/levels/{level}/outputs", "/api/levels/9/outputs", 404, may);
    const HttpHeaders mayRead{{"Authorization", "Bearer " + reader}};
    ask("POST", "/api/takes", "/api/takes", 403, mayRead, takes);
    ask("POST", "/api/takes", "/api/takes", 401, {}, takes);
    ask("POST", "/api/takes", "/api/takes", 400, may, R"({"takes":[{"level":1,"output":3,"input":7,"lprId":3}]})");
    ask("POST", "/api/takes", "/api/takes", 413, may, std::string(600UL * 1024, ' '));
    ask("POST", "/api/locks", "/api/locks", 400, may, R"({"locks":[{"level":1,"output":3,"action":"force"}]})");
    HttpHeaders keyed = may;
    keyed["Idempotency-Key"] = "press-1";
    ask("POST", "/api/takes", "/api/takes", 200, keyed, takes);
    ask("POST", "/api/takes", "/api/takes", 422, keyed, R"({"takes":[{"level":1,"output":3,"input":8}]})");
    ask("POST", "/api/locks", "/api/locks", 422, keyed, locks);
    ask("POST", "/api/salvos/{name}/takes", "/api/salvos/studio-a/takes", 422, keyed, "{}");
    const auto signedIn = ask("POST", "/api/session", "/api/session", 200, {}, "{\"token\":\"" + token + "\"}");
    const std::string cookie = signedIn.headers.at("set-cookie");
    ask("DELETE", "/api/session", "/api/session", 200, {{"Cookie", cookie.substr(0, cookie.find(';'))}});
    ask("POST", "/api/session", "/api/session", 400, {}, "{}");
    ask("POST", "/api/session", "/api/session", 401, {}, R"({"token":"anna.wrong"})");
    ask("POST", "/api/session", "/api/session", 429, {}, R"({"token":"anna.wrong"})");
    ask("GET", "/api/state", "/api/state", 429, {{"Authorization", "Bearer anna.wrong"}});
    bridge().signal(SIGKILL);
    ASSERT_TRUE(stream.waitFor("\"connected\":false"));
    ask("POST", "/api/takes", "/api/takes", 503, may, takes);
    ASSERT_TRUE(stream.waitFor("not sent: no connection to the bridge"));

    for (const auto& [path, operations] : m_document.at("paths").items())
    {
        for (const auto& [method, operation] : operations.items())
        {
            // Whoever shows a token may have to wait, or be one too many.
            const auto& responses = operation.at("responses");
            const bool isForAnybody = path == "/api/openapi.json";
            EXPECT_EQ(responses.contains("429") && responses.contains("503"), !isForAnybody) << method << " " << path;
        }
    }
    // The stream itself is asked for here.
    m_asked.insert("get /api/events");
    EXPECT_EQ(m_asked, described());
    std::set<std::string> events;
    std::istringstream lines(stream.text());
    std::string event;
    for (std::string line; std::getline(lines, line);)
    {
        if (line.starts_with("event: "))
        {
            event = line.substr(7);
        }
        if (line.starts_with("data: ") && !lines.eof())
        {
            events.insert(event);
            EXPECT_EQ(faultOf(json::parse(line.substr(6)),
                              m_document.at("components").at("schemas").at(schemaOf(event)), m_document),
                      "")
                << line.substr(0, 300);
        }
    }
    EXPECT_TRUE(events.contains("resync") && events.contains("press") && events.contains("outputs") &&
                events.contains("state"));
}
