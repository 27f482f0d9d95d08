#pragma once

#include <vector>

#include "koraclient/Message.h"
#include "tools/koractl/common/Report.h"

namespace koractl
{

/// Messages as they came. Plain value.
class RawReport : public Report
{
public:
    explicit RawReport(std::vector<koraclient::Message> responses);

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    /// False when one of them is the error response.
    bool isAllDone() const override;

private:
    std::vector<koraclient::Message> m_responses;
};

} // namespace koractl
