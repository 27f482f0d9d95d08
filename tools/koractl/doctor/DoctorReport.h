#pragma once

#include "tools/koractl/common/Report.h"
#include "tools/koractl/doctor/Facts.h"
#include "tools/koractl/doctor/Finding.h"

#include <vector>

namespace koractl
{

/// What the doctor found out about one bridge. Plain value.
class DoctorReport : public Report
{
public:
    DoctorReport(Facts facts, std::vector<Finding> findings);

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    /// Notes aside.
    bool isAllDone() const override;

private:
    Facts m_facts;
    std::vector<Finding> m_findings;
};

} // namespace koractl
