#include "tools/koractl/doctor/Judgement.h"

#include "tests/support/Places.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

using namespace koractl;
using namespace std::chrono_literals;

namespace
{

/// A bridge on this machine of which everything is known and nothing is wrong.
Facts healthy()
{
    Facts facts;
    facts.host = "board";
    facts.port = 5194;
    facts.link.port = PortState::answers;
    facts.link.answer = 300us;
    facts.link.clockAhead = 0s;
    facts.link.outputs = 2592;
    facts.link.known = 5;
    facts.machine = MachineFacts{};
    facts.machine->unit = UnitFacts{
        .isLoaded = true, .active = "active", .result = "success", .status = "joined R1, 1 controller, store ok"};
    facts.machine->log = LogFacts{};
    facts.machine->log->version = "1.2.3";
    facts.machine->log->isConnected = true;
    facts.machine->metrics = MetricsFacts{.age = 5s,
                                          .version = "1.2.3",
                                          .controllers = 1,
                                          .storeUsable = 1,
                                          .joins = 1,
                                          .readersMatched = 1,
                                          .neighbours = 0,
                                          .gateDropped = 0};
    facts.machine->isClockSynchronised = true;
    return facts;
}

/// A port that is closed, on another machine.
Facts closedElsewhere(ConsoleFacts console)
{
    Facts facts;
    facts.host = "board";
    facts.port = 5194;
    facts.link.port = PortState::refused;
    facts.console = std::move(console);
    return facts;
}

/// The same on this machine, with nothing known but that somebody listens for operators.
Facts closedHere()
{
    Facts facts = closedElsewhere({.state = ConsoleFacts::State::busy});
    facts.machine = MachineFacts{};
    return facts;
}

std::string summary(const std::vector<Finding>& findings)
{
    std::string text;
    for (const Finding& each : findings)
    {
        text += (text.empty() ? "" : " ") + std::string(severityText(each.severity)) + ":" + std::string(each.name);
    }
    return text;
}

struct Case
{
    const char* name;
    std::function<Facts()> facts;
    const char* findings;
};

void PrintTo(const Case& each, std::ostream* out)
{
    *out << each.name;
}

/// The healthy bridge but for one thing.
std::function<Facts()> but(std::function<void(Facts&)> change)
{
    return [change = std::move(change)] {
        Facts facts = healthy();
        change(facts);
        return facts;
    };
}

std::function<Facts()> portThat(PortState state)
{
    return [state] {
        Facts facts;
        facts.host = "board";
        facts.link.port = state;
        facts.link.problem = "its words";
        return facts;
    };
}

std::function<Facts()> closedWith(std::function<void(MachineFacts&)> change)
{
    return [change = std::move(change)] {
        Facts facts = closedHere();
        change(*facts.machine);
        return facts;
    };
}

UnitFacts activeUnit(const std::string& status)
{
    return {.isLoaded = true, .active = "active", .result = "success", .status = status};
}

using Console = ConsoleFacts::State;

std::string nameOf(const testing::TestParamInfo<Case>& each)
{
    return each.param.name;
}

class JudgementCases : public testing::TestWithParam<Case>
{};

} // namespace

TEST_P(JudgementCases, FindsThatAndNothingElse)
{
    EXPECT_EQ(summary(judge(GetParam().facts())), GetParam().findings);
}

TEST(Judgement, PortThatIsClosedBecauseAnotherProgramHasItIsSaidSo)
{
    const auto findings = judge(closedWith([](MachineFacts& machine) {
        machine.log = LogFacts{};
        machine.log->portTaken = "failed binding socket";
    })());

    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings.front().what,
              "The port for controllers is closed: another program has it. The log says: failed binding socket");
}

INSTANTIATE_TEST_SUITE_P(
    Port, JudgementCases,
    testing::Values(
        Case{"healthy", &healthy, ""}, Case{"noAnswer", portThat(PortState::noAnswer), "error:no-answer"},
        Case{"unreachable", portThat(PortState::unreachable), "error:unreachable"},
        Case{"unknownHost", portThat(PortState::unknownHost), "error:unknown-host"},
        Case{"closes", portThat(PortState::closes), "error:closes"},
        Case{"silent", portThat(PortState::silent), "error:silent"},
        Case{"foreign", portThat(PortState::foreign), "error:foreign"},
        Case{"answersAndNothingElseIsKnown", portThat(PortState::answers), ""},
        Case{"closedAndNothingElseIsKnown", portThat(PortState::refused), "error:port-closed"},
        Case{"consoleClosedToo", [] { return closedElsewhere({.state = Console::refused}); }, "error:not-running"},
        Case{"consoleSilent", [] { return closedElsewhere({.state = Console::noAnswer}); }, "error:port-closed"},
        Case{"consoleBusy", [] { return closedElsewhere({.state = Console::busy}); }, "error:port-closed"},
        Case{"consoleWithoutTables", [] { return closedElsewhere({.state = Console::answers}); }, "error:port-closed"},
        Case{"consoleShowsNoRouter",
             [] { return closedElsewhere({.state = Console::answers, .partition = "", .controllers = 0}); },
             "error:no-router"},
        Case{"consoleShowsSixteen",
             [] { return closedElsewhere({.state = Console::answers, .partition = "R1", .controllers = 16}); },
             "error:slots-full"},
        Case{"consoleShowsFewerAndARouter",
             [] { return closedElsewhere({.state = Console::answers, .partition = "R1", .controllers = 15}); },
             "error:joining"},
        Case{"consoleShowsARouterAndNoConnections",
             [] { return closedElsewhere({.state = Console::answers, .partition = "R1"}); }, "error:port-closed"}),
    &nameOf);

INSTANTIATE_TEST_SUITE_P(
    ClosedHere, JudgementCases,
    testing::Values(Case{"unitDown", closedWith([](MachineFacts& machine) {
                             machine.unit = UnitFacts{.isLoaded = true, .active = "failed", .result = "exit-code"};
                         }),
                         "error:service-down"},
                    Case{"unitSaysNoRouter", closedWith([](MachineFacts& machine) {
                             machine.unit = activeUnit("no router for frame 17 yet");
                         }),
                         "error:no-router"},
                    Case{"unitSaysJoining", closedWith([](MachineFacts& machine) {
                             machine.unit = activeUnit("joining R1, 0 controllers");
                         }),
                         "error:joining"},
                    Case{"unitSaysSixteen", closedWith([](MachineFacts& machine) {
                             machine.unit = activeUnit("joined R1, 16 controllers, store ok");
                         }),
                         "error:slots-full"},
                    Case{"metricsSaySixteen",
                         closedWith([](MachineFacts& machine) { machine.metrics = MetricsFacts{.controllers = 16}; }),
                         "error:slots-full"},
                    Case{"oldMetricsSaySixteen", closedWith([](MachineFacts& machine) {
                             machine.metrics = MetricsFacts{.age = 61s, .controllers = 16};
                         }),
                         "error:port-closed error:metrics-old"},
                    Case{"logSaysNotConnected", closedWith([](MachineFacts& machine) {
                             machine.log = LogFacts{};
                             machine.log->isConnected = false;
                         }),
                         "error:no-router"},
                    Case{"logSaysConnected", closedWith([](MachineFacts& machine) {
                             machine.log = LogFacts{};
                             machine.log->isConnected = true;
                         }),
                         "error:port-closed"},
                    Case{"logSaysTaken", closedWith([](MachineFacts& machine) {
                             machine.log = LogFacts{};
                             machine.log->portTaken = "failed binding socket";
                         }),
                         "error:port-taken"},
                    Case{"bothPortsClosedAndTheLogIsOfABridgeThatWas",
                         [] {
                             Facts facts = closedElsewhere({.state = Console::refused});
                             facts.machine = MachineFacts{};
                             facts.machine->log = LogFacts{};
                             facts.machine->log->isConnected = false;
                             return facts;
                         },
                         "error:not-running"},
                    Case{"bothPortsClosedAndTheServiceRuns",
                         [] {
                             Facts facts = closedElsewhere({.state = Console::refused});
                             facts.machine = MachineFacts{};
                             facts.machine->unit = activeUnit("no router for frame 17 yet, 0 controllers, store ok");
                             return facts;
                         },
                         "error:no-router"}),
    &nameOf);

INSTANTIATE_TEST_SUITE_P(
    Serving, JudgementCases,
    testing::Values(
        Case{"noService", but([](Facts& facts) { facts.machine->unit->isLoaded = false; }), "note:no-service"},
        Case{"restarted", but([](Facts& facts) { facts.machine->unit->restarts = 3; }), "warning:restarts"},
        Case{"restartedTwice", but([](Facts& facts) { facts.machine->unit->restarts = 2; }), ""},
        Case{"slow", but([](Facts& facts) { facts.link.answer = 251ms; }), "warning:slow"},
        Case{"notSlow", but([](Facts& facts) { facts.link.answer = 250ms; }), ""},
        Case{"noStatus", but([](Facts& facts) { facts.link.known = 0; }), "warning:status-missing"},
        Case{"noOutputs", but([](Facts& facts) {
                 facts.link.known = 0;
                 facts.link.outputs = 0;
             }),
             ""},
        Case{"clockAhead", but([](Facts& facts) { facts.link.clockAhead = 3s; }), "warning:clock"},
        Case{"clockBehind", but([](Facts& facts) { facts.link.clockAhead = -3s; }), "warning:clock"},
        Case{"clockNearly", but([](Facts& facts) { facts.link.clockAhead = -2s; }), ""},
        Case{"clockFreeAndAlone", but([](Facts& facts) { facts.machine->isClockSynchronised = false; }),
             "note:clock-free"},
        Case{"clockFreeWithANeighbour", but([](Facts& facts) {
                 facts.machine->isClockSynchronised = false;
                 facts.machine->metrics->neighbours = 1;
             }),
             "warning:clock-free"},
        Case{"logUnread", but([](Facts& facts) {
                 facts.machine->log.reset();
                 facts.machine->logProblem = "no such file";
             }),
             "note:log-unread"},
        Case{"resources", but([](Facts& facts) { facts.machine->log->lackOfResources = "line"; }), "error:resources"},
        Case{"joinFails", but([](Facts& facts) { facts.machine->log->failedJoin = "line"; }), "error:join-failed"},
        Case{"portTaken", but([](Facts& facts) { facts.machine->log->portTaken = "line"; }), "error:port-taken"},
        Case{"logErrors", but([](Facts& facts) { facts.machine->log->errors = 1; }), "warning:log-errors"},
        Case{"slowReader", but([](Facts& facts) { facts.machine->log->slowReader = "line"; }), "note:slow-reader"},
        Case{"silentNeighbour", but([](Facts& facts) { facts.machine->log->silentNeighbours = "line"; }),
             "warning:neighbour-silent"},
        Case{"refusedTargets", but([](Facts& facts) { facts.machine->log->refusedTargets = "line"; }),
             "warning:refused-targets"},
        Case{"storeByMetrics", but([](Facts& facts) { facts.machine->metrics->storeUsable = 0; }), "error:store"},
        Case{"storeByMetricsBeforeAJoin", but([](Facts& facts) {
                 facts.machine->metrics->storeUsable = 0;
                 facts.machine->metrics->joins = 0;
             }),
             ""},
        Case{"storeByStatusBeforeAJoin",
             but([](Facts& facts) { facts.machine->unit->status = "joining R1, 0 controllers, store not in use"; }),
             ""},
        Case{"storeByStatus",
             but([](Facts& facts) { facts.machine->unit->status = "joined R1, 1 controller, store not in use"; }),
             "error:store"},
        Case{"storeByLogAgainstMetrics", but([](Facts& facts) { facts.machine->log->storeTrouble = "line"; }), ""},
        Case{"storeByLogWithoutMetrics", but([](Facts& facts) {
                 facts.machine->log->storeTrouble = "line";
                 facts.machine->metrics.reset();
             }),
             "error:store"},
        Case{"oldMetrics", but([](Facts& facts) { facts.machine->metrics->age = 61s; }), "warning:metrics-old"},
        Case{"noReaders", but([](Facts& facts) { facts.machine->metrics->readersMatched = 0; }), "error:no-readers"},
        Case{"noReadersBeforeAJoin", but([](Facts& facts) {
                 facts.machine->metrics->readersMatched = 0;
                 facts.machine->metrics->joins = 0;
             }),
             ""},
        Case{"dropped", but([](Facts& facts) { facts.machine->metrics->gateDropped = 2; }), "warning:dropped"},
        Case{"metricsOfAnOlderBridge", but([](Facts& facts) {
                 facts.machine->metrics->readersMatched.reset();
                 facts.machine->metrics->neighbours.reset();
                 facts.machine->metrics->gateDropped.reset();
             }),
             ""},
        Case{"noSystemdNoMetrics", but([](Facts& facts) {
                 facts.machine->unit.reset();
                 facts.machine->metrics.reset();
             }),
             ""},
        Case{"worstFirst", but([](Facts& facts) {
                 facts.machine->isClockSynchronised = false;
                 facts.link.known = 0;
                 facts.machine->metrics->storeUsable = 0;
             }),
             "error:store warning:status-missing note:clock-free"}),
    &nameOf);

TEST(Judgement, SentencesNameWhatWasSeen)
{
    Facts facts = healthy();
    facts.link.clockAhead = -7s;
    facts.machine->log->silentNeighbours = "1 other bridges are silent and no longer waited for";
    const auto findings = judge(facts);

    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].what,
              "Another bridge of this router did not answer: 1 other bridges are silent and no longer "
              "waited for");
    EXPECT_EQ(findings[1].what, "The bridge's clock is 7 s behind this machine's.");
}

TEST(Judgement, VersionIsThatOfTheMetricsUnlessTheyAreOld)
{
    Facts facts = healthy();
    facts.machine->metrics->version = "2.0";
    EXPECT_EQ(facts.version(), "2.0");
    facts.machine->metrics->age = 61s;
    EXPECT_EQ(facts.version(), "1.2.3");
    facts.machine.reset();
    EXPECT_EQ(facts.version(), "");
}

TEST(DoctorSections, EachStandsInTheDocumentation)
{
    for (const Section& each : section::all)
    {
        std::ifstream page(testsupport::sourceFolder() / "docs" / each.page);
        ASSERT_TRUE(page) << each.page;
        bool isThere = false;
        for (std::string line; std::getline(page, line);)
        {
            isThere = isThere || line == std::string("## ") + each.title || line == std::string("### ") + each.title;
        }
        EXPECT_TRUE(isThere) << each.page << ": " << each.title;
    }
}

TEST(DoctorSections, AreAllListed)
{
    std::ifstream header(testsupport::sourceFolder() / "tools/koractl/doctor/Finding.h");
    std::size_t count = 0;
    for (std::string line; std::getline(header, line);)
    {
        count += line.find("inline constexpr Section ") == 0 ? 1U : 0U;
    }
    EXPECT_EQ(count, section::all.size());
}
