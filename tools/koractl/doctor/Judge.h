#pragma once

#include "tools/koractl/doctor/Facts.h"
#include "tools/koractl/doctor/Finding.h"
#include "tools/koractl/doctor/Judgement.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace koractl
{

/// Collects what is wrong, one thing after the other; for one judgement. Refers to the facts.
class Judge
{
public:
    explicit Judge(const Facts& facts) : m_facts(facts) {}

    /// The worst first.
    std::vector<Finding> all();

private:
    void add(Severity severity, std::string_view name, std::string what, std::string todo, Section where)
    {
        m_found.push_back({severity, name, std::move(what), std::move(todo), where});
    }
    bool isFound(std::string_view name) const
    {
        return std::any_of(m_found.begin(), m_found.end(), [&](const Finding& each) { return each.name == name; });
    }

    const UnitFacts* unit() const
    {
        return m_facts.machine && m_facts.machine->unit ? &*m_facts.machine->unit : nullptr;
    }
    const LogFacts* logFacts() const
    {
        return m_facts.machine && m_facts.machine->log ? &*m_facts.machine->log : nullptr;
    }
    /// Of a bridge that still writes them.
    const MetricsFacts* freshMetrics() const
    {
        return m_facts.machine && m_facts.machine->metrics && m_facts.machine->metrics->age <= oldestMetrics
                   ? &*m_facts.machine->metrics
                   : nullptr;
    }
    bool statusSays(std::string_view text) const
    {
        return unit() != nullptr && unit()->active == "active" && unit()->status.find(text) != std::string::npos;
    }

    void service();
    void port();
    void closedPort();
    void answers();
    void log();
    void metrics();
    void store();
    void neighbours();
    void clock();

    const Facts& m_facts;
    std::vector<Finding> m_found;
};

} // namespace koractl
