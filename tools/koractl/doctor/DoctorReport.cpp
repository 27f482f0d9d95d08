#include "tools/koractl/doctor/DoctorReport.h"

#include <algorithm>
#include <cstdio>
#include <ostream>
#include <string>
#include <utility>

namespace koractl
{
namespace
{

const char* portText(PortState state)
{
    switch (state)
    {
    case PortState::answers:
        return "answers";
    case PortState::refused:
        return "is closed";
    case PortState::noAnswer:
        return "does not answer";
    case PortState::unreachable:
        return "cannot be reached";
    case PortState::unknownHost:
        return "is unknown";
    case PortState::closes:
        return "closes at once";
    case PortState::silent:
        return "is silent";
    case PortState::foreign:
        return "is not a bridge's";
    }
    return "";
}

/// What was looked at, in the order in which it was.
std::vector<std::string> seen(const Facts& facts)
{
    std::vector<std::string> all{"port"};
    if (facts.console)
    {
        all.emplace_back("console");
    }
    if (facts.machine)
    {
        if (facts.machine->unit)
        {
            all.emplace_back("service");
        }
        if (facts.machine->log)
        {
            all.emplace_back("log");
        }
        if (facts.machine->metrics)
        {
            all.emplace_back("metrics");
        }
        all.emplace_back("clock");
    }
    else if (facts.link.clockAhead)
    {
        all.emplace_back("clock");
    }
    return all;
}

std::string milliseconds(std::chrono::microseconds time)
{
    char text[40];
    (void)std::snprintf(text, sizeof text, "%.1f ms", std::chrono::duration<double, std::milli>(time).count());
    return text;
}

} // namespace

DoctorReport::DoctorReport(Facts facts, std::vector<Finding> findings)
    : m_facts(std::move(facts)), m_findings(std::move(findings))
{}

void DoctorReport::printText(std::ostream& out) const
{
    out << m_facts.host << " port " << m_facts.port << ' ' << portText(m_facts.link.port);
    if (m_facts.link.answer)
    {
        out << " in " << milliseconds(*m_facts.link.answer);
    }
    const std::string version = m_facts.version();
    out << "; version " << (version.empty() ? "not known from here" : version) << "; looked at";
    const char* separator = " ";
    for (const std::string& each : seen(m_facts))
    {
        out << std::exchange(separator, ", ") << each;
    }
    out << '\n';
    for (const Finding& finding : m_findings)
    {
        out << severityText(finding.severity) << ": " << finding.what << "\n    do: " << finding.todo
            << "\n    read: docs/" << finding.where.page << ", section \"" << finding.where.title << "\"\n";
    }
    if (isAllDone())
    {
        out << "nothing is wrong\n";
    }
}

nlohmann::ordered_json DoctorReport::toJson() const
{
    nlohmann::ordered_json json{{"command", "doctor"},
                                {"done", isAllDone()},
                                {"host", m_facts.host},
                                {"port", m_facts.port},
                                {"state", portText(m_facts.link.port)},
                                {"version", nullptr},
                                {"seen", seen(m_facts)}};
    if (const std::string version = m_facts.version(); !version.empty())
    {
        json["version"] = version;
    }
    json["findings"] = nlohmann::ordered_json::array();
    for (const Finding& finding : m_findings)
    {
        json["findings"].push_back({{"severity", severityText(finding.severity)},
                                    {"name", finding.name},
                                    {"what", finding.what},
                                    {"todo", finding.todo},
                                    {"page", std::string("docs/") + finding.where.page},
                                    {"section", finding.where.title}});
    }
    return json;
}

bool DoctorReport::isAllDone() const
{
    return std::none_of(m_findings.begin(), m_findings.end(),
                        [](const Finding& each) { return each.severity != Severity::note; });
}

} // namespace koractl
