#include "tools/koractl/doctor/Probes.h"

#include "koracommand/WireLayout.h"
#include "tests/fakes/FakeBridge.h"
#include "tests/support/TempDir.h"
#include "tests/unit/tools/koractl/FakeRouter.h"
#include "tools/koractl/doctor/DoctorReport.h"
#include "tools/koractl/doctor/UnitProbe.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

using namespace koractl;
using namespace std::chrono_literals;

namespace
{

constexpr const char* here = "127.0.0.1";

PortState stateAt(const FakeBridge& bridge, std::chrono::milliseconds timeout = 10s)
{
    return probeLink(here, bridge.port(), timeout).port;
}

/// A script in a directory of the test's own.
class ProbesTest : public testing::Test
{
protected:
    std::string script(const std::string& text)
    {
        const std::filesystem::path path = m_directory.path() / "program";
        testsupport::writeFile(path, "#!/bin/sh\n" + text + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path.string();
    }
    std::string file(const char* name, const std::string& text)
    {
        testsupport::writeFile(m_directory.path() / name, text);
        return (m_directory.path() / name).string();
    }

    testsupport::TempDir m_directory;
};

} // namespace

TEST_F(ProbesTest, LinkTellsAClosedPort)
{
    std::uint16_t port = 0;
    {
        const FakeBridge gone{FakeRouter()};
        port = gone.port();
    }

    EXPECT_EQ(probeLink(here, port, 10s).port, PortState::refused);
    EXPECT_EQ(probeLink("no host has blanks", port, 10s).port, PortState::unknownHost);
}

TEST_F(ProbesTest, LinkTellsWhatDoesNotAnswerAsABridge)
{
    const FakeBridge closing([](const koraclient::Message&, std::uint32_t) { return FakeReply{{}, true}; });
    const FakeBridge silent([](const koraclient::Message&, std::uint32_t) { return FakeReply{}; });
    const FakeBridge foreign([](const koraclient::Message&, std::uint32_t) {
        const std::string text = "HTTP/1.1 400 Bad Request\r\n\r\n";
        return FakeReply{{text.begin(), text.end()}, true};
    });

    EXPECT_EQ(stateAt(closing), PortState::closes);
    EXPECT_EQ(stateAt(silent, 100ms), PortState::silent);
    EXPECT_EQ(stateAt(foreign), PortState::foreign);
}

TEST_F(ProbesTest, LinkTellsTheClockAndWhatTheRouterHasSaid)
{
    const FakeBridge ahead([router = FakeRouter()](const koraclient::Message& request, std::uint32_t sequence) mutable {
        if (request.id() != wireLayout::msgId::readySystemStatus)
        {
            return router(request, sequence);
        }
        namespace wire = wireLayout::readySystemStatusRsp;
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        std::vector<std::uint32_t> words((wire::format4Length - wire::format) / wireLayout::wordBytes, 0);
        words.front() = wire::fallbackFormat;
        words[(wire::format4Time - wire::format) / wireLayout::wordBytes] =
            static_cast<std::uint32_t>(std::chrono::floor<std::chrono::seconds>(now + 60s).count());
        return FakeReply{responseTo(request, sequence, wireLayout::rspId::readySystemStatus, words), false};
    });

    const LinkFacts facts = probeLink(here, ahead.port(), 10s);

    EXPECT_EQ(facts.port, PortState::answers) << facts.problem;
    EXPECT_TRUE(facts.answer);
    ASSERT_TRUE(facts.clockAhead);
    EXPECT_GE(*facts.clockAhead, 58s);
    EXPECT_LE(*facts.clockAhead, 60s);
    EXPECT_EQ(facts.outputs, 288U + 2304U);
    EXPECT_EQ(facts.known, 8U);
}

TEST_F(ProbesTest, ServiceManagerIsAsked)
{
    const auto facts =
        probeUnit(script("test \"$1 $2\" = 'show korabridge' && echo LoadState=loaded; echo ActiveState=failed"), 10s);

    ASSERT_TRUE(facts);
    EXPECT_TRUE(facts->isLoaded);
    EXPECT_EQ(facts->active, "failed");
}

TEST_F(ProbesTest, ServiceManagerThatFailsOrHangsIsNoFact)
{
    EXPECT_FALSE(probeUnit(script("echo LoadState=loaded; exit 1"), 10s));
    EXPECT_FALSE(probeUnit((m_directory.path() / "missing").string(), 10s));
    EXPECT_FALSE(probeUnit(script("exec sleep 60"), 100ms));
}

TEST_F(ProbesTest, MachineTellsByItsFiles)
{
    const std::string line = "x WARN  (S.cpp:1) - failed binding socket 9 to address/port 0.0.0.0, Address in use\n";
    MachinePlaces places{.log = file("log", std::string(2 << 20, '-') + "\n" + line),
                         .metrics = file("metrics", "korabridge_build_info{version=\"7\"} 1\n"),
                         .systemd = (m_directory.path() / "missing").string()};

    const MachineFacts facts = probeMachine(places);

    EXPECT_FALSE(facts.unit);
    ASSERT_TRUE(facts.log);
    EXPECT_EQ(facts.log->portTaken, "failed binding socket 9 to address/port 0.0.0.0, Address in use");
    ASSERT_TRUE(facts.metrics);
    EXPECT_EQ(facts.metrics->version, "7");
    EXPECT_LT(facts.metrics->age, 60s);
    std::filesystem::last_write_time(places.metrics, std::filesystem::file_time_type::clock::now() - 300s);
    EXPECT_GE(probeMachine(places).metrics->age, 299s);
}

TEST_F(ProbesTest, LogThatWasWrittenLastIsRead)
{
    const MachinePlaces places{.log = file("bridge.log", "x INFO  (S.cpp:1) - korabridge 1.0, DDS library 1\n"),
                               .systemd = "/no/such/directory"};
    const std::string json = file("bridge.json", R"({"level": "INFO", "message": "korabridge 2.0, DDS library 1"})");
    const auto now = std::filesystem::file_time_type::clock::now();

    std::filesystem::last_write_time(places.log, now - 10s);
    std::filesystem::last_write_time(json, now);
    EXPECT_EQ(probeMachine(places).log->version, "2.0");
    std::filesystem::last_write_time(json, now - 20s);
    EXPECT_EQ(probeMachine(places).log->version, "1.0");
    std::filesystem::remove(places.log);
    EXPECT_EQ(probeMachine(places).log->version, "2.0");
}

TEST_F(ProbesTest, MachineWithoutTheFilesSaysWhyTheLogIsNotRead)
{
    const MachineFacts facts = probeMachine({.log = m_directory.path().string(),
                                             .metrics = "/no/such/metrics",
                                             .systemd = m_directory.path().string(),
                                             .systemctl = script("echo LoadState=not-found")});

    EXPECT_FALSE(facts.log);
    EXPECT_EQ(facts.logProblem, m_directory.path().string() + " is no file");
    EXPECT_FALSE(facts.metrics);
    ASSERT_TRUE(facts.unit);
    EXPECT_FALSE(facts.unit->isLoaded);
}

TEST(ThisMachine, IsKnownByItsAddresses)
{
    EXPECT_TRUE(isThisMachine("127.0.0.1"));
    EXPECT_FALSE(isThisMachine("192.0.2.1"));
    EXPECT_FALSE(isThisMachine("no host has blanks"));
}

TEST(DoctorReport, TextSaysWhatIsWrongWhatToDoAndWhatToRead)
{
    Facts facts;
    facts.host = "board";
    facts.port = 5194;
    facts.link.port = PortState::answers;
    facts.link.answer = 1250us;
    DoctorReport sut(facts, {{Severity::error, "name", "It is so.", "Do that.", section::store}});
    std::ostringstream out;

    sut.printText(out);

    EXPECT_EQ(out.str(), "board port 5194 answers in 1.2 ms; version not known from here; looked at port\n"
                         "error: It is so.\n"
                         "    do: Do that.\n"
                         "    read: docs/durability.md, section \"The store\"\n");
    EXPECT_FALSE(sut.isAllDone());
    EXPECT_EQ(sut.toJson().dump(),
              R"({"command":"doctor","done":false,"host":"board","port":5194,"state":"answers","version":null,)"
              R"("seen":["port"],"findings":[{"severity":"error","name":"name","what":"It is so.","todo":"Do that.",)"
              R"("page":"docs/durability.md","section":"The store"}]})");
}

TEST(DoctorReport, NotesAreNothingWrong)
{
    Facts facts;
    facts.host = "board";
    facts.link.port = PortState::answers;
    facts.machine = MachineFacts{};
    facts.machine->log = LogFacts{};
    facts.machine->log->version = "2.7.1";
    DoctorReport sut(facts, {{Severity::note, "name", "It is so.", "Nothing.", section::log}});
    std::ostringstream out;

    sut.printText(out);

    EXPECT_TRUE(sut.isAllDone());
    EXPECT_EQ(out.str().find("board port 0 answers; version 2.7.1; looked at port, log, clock\nnote: "), 0U)
        << out.str();
    EXPECT_NE(out.str().find("nothing is wrong\n"), std::string::npos);
}
