// The shipped log configuration with its JSON appenders in use: what a collector of logs reads.
#include "tests/e2e/faults/ShippedLogFixture.h"
#include "tests/e2e/hostile/HostilePub.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Places.h"

#include <nlohmann/json.hpp>

#include <sstream>

namespace e2e
{
namespace
{

using com::tallowcrest::dds_::routing::RouterMember;
using com::tallowcrest::routing::TopicName;
using nlohmann::json;

class JsonLogTest : public ShippedLogFixture
{
protected:
    /// The shipped configuration after the change that its comment tells of.
    std::filesystem::path withJson()
    {
        std::string text = testsupport::readFile(shippedLogConfiguration());
        for (const std::string name : {"file", "journal"})
        {
            const std::string reference = "<appender-ref ref=\"" + name + "\"/>";
            const std::size_t at = text.find(reference);
            EXPECT_NE(at, std::string::npos) << name;
            text.replace(at, reference.size(), "<appender-ref ref=\"" + name + "-json\"/>");
        }
        const std::filesystem::path file = m_scratch.path() / "korabridge-log.xml";
        testsupport::writeFile(file, text);
        return file;
    }
    std::string jsonText() { return testsupport::readFile(logDirectory() / "korabridge" / "korabridge.json"); }

    testsupport::TempDir m_scratch;
};

/// Each line as what it says; a line that is no JSON object fails the test.
std::vector<json> objectsOf(const std::string& text)
{
    std::vector<json> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        const json object = json::parse(line, nullptr, false);
        EXPECT_TRUE(object.is_object()) << testing::PrintToString(line);
        if (object.is_object())
        {
            objects.push_back(object);
        }
    }
    return objects;
}

std::vector<std::string> messagesHolding(const std::vector<json>& objects, const std::string& part)
{
    std::vector<std::string> messages;
    for (const json& object : objects)
    {
        const std::string message = object.at("message");
        if (message.find(part) != std::string::npos)
        {
            messages.push_back(message);
        }
    }
    return messages;
}

TEST_F(JsonLogTest, EachLineIsOneObjectWhateverNamesHold)
{
    const std::string hostileName = "\"},\n{\"level\":\"\\\x1b[2J\t\xff\xc2\x9b\xe2\x80\xa8\x7f cut \xe2\x82";
    startWithShippedLog("8m", withJson(), hostileName);
    HostilePub<RouterMember> hostile(TopicName::RouterMember, "");
    hostile.write({17, "\"},\n{\"level\":\"\\\x1b[2J", 0});
    std::string text;
    EXPECT_TRUE(testsupport::waitUntil([&] {
        text = jsonText();
        return text.find("the partition is not printable ASCII") != std::string::npos && text.ends_with('\n');
    }));

    const std::vector<json> objects = objectsOf(text);

    ASSERT_GT(objects.size(), 5U) << text;
    for (const json& object : objects)
    {
        EXPECT_EQ(object.at("logger"), "KORABRIDGE");
        EXPECT_TRUE(object.at("level") == "INFO" || object.at("level") == "WARN") << object;
        EXPECT_EQ(object.at("timestamp").get<std::string>().size(), std::string("2026-11-22 19:03:37,127").size());
        EXPECT_NE(object.at("location_info").at("file"), "") << object;
    }
    EXPECT_EQ(messagesHolding(objects, "korabridge " KORABRIDGE_VERSION ", DDS library ").size(), 1U) << text;
    // What is printable of the name is there; quotes and line ends of it have not become the log's own.
    const auto starting = messagesHolding(objects, "Starting korabridge, koraBridgeId 3, koraBridgeName ");
    ASSERT_EQ(starting.size(), 1U) << text;
    EXPECT_NE(starting[0].find("\"},\n{\"level\":\"\\\x1b[2J\t"), std::string::npos) << starting[0];
    EXPECT_NE(starting[0].find(" cut "), std::string::npos) << starting[0];
    EXPECT_EQ(messagesHolding(objects, "TopicRouterMember sample ignored: ").size(), 1U) << text;
    EXPECT_EQ(logText(), "") << "the text appenders are not in use";
    // And the documented example of a collector can read it.
    testsupport::writeFile(m_scratch.path() / "lines", text);
    testsupport::ChildProcess collector(
        "/usr/bin/python3",
        {testsupport::sourceFolder() / "tests/monitoring/collector.py", m_scratch.path() / "lines"});
    EXPECT_EQ(collector.waitForExit(), 0) << collector.output() << collector.errors();
}

TEST_F(JsonLogTest, WhatNeedsAttentionReachesTheJournalAsObjectsToo)
{
    startWithShippedLog("8m", withJson());
    HostilePub<RouterMember> hostile(TopicName::RouterMember, "");
    hostile.write({17, "a\"b\\c\n", 0});
    ASSERT_TRUE(bridge().waitForOutput("the partition is not printable ASCII"));
    EXPECT_EQ(stopBridge(), 0);

    const std::vector<json> objects = objectsOf(bridge().output());

    ASSERT_FALSE(objects.empty());
    for (const json& object : objects)
    {
        EXPECT_EQ(object.at("level"), "WARN") << object;
    }
}

} // namespace
} // namespace e2e
