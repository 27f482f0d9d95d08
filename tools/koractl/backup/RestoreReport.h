#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tools/koractl/backup/RestorePlan.h"
#include "tools/koractl/common/Names.h"
#include "tools/koractl/common/Report.h"

namespace koractl
{

/// What a restore did, or would do, to the outputs that differ. Plain value; refers to the names.
class RestoreReport : public Report
{
public:
    /// `wanted` is how many outputs of each level the file speaks of.
    RestoreReport(bool isDryRun, std::map<std::uint32_t, std::size_t> wanted, std::vector<RestoreStep> steps,
                  const Names& names = Names::none());

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    bool isAllDone() const override;

private:
    /// Empty when the step is done, or would be.
    static std::string problemOf(const RestoreStep& step);
    bool isDone(const RestoreStep& step) const;
    std::string textOf(const RestoreStep& step) const;
    /// `level 1: 288 outputs in the file, 2 differ: 1 set, 1 not set`.
    std::string summary(std::uint32_t level, std::size_t wanted) const;

    bool m_isDryRun;
    std::map<std::uint32_t, std::size_t> m_wanted;
    std::vector<RestoreStep> m_steps;
    const Names& m_names;
};

} // namespace koractl
