#pragma once

#include "koraclient/AskOutputs.h"
#include "tools/common/Names.h"
#include "tools/common/RestorePlan.h"
#include "tools/koractl/common/Report.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace koractl
{

/// What a backup saved. Plain value.
class BackupReport : public Report
{
public:
    explicit BackupReport(std::string file) : m_file(std::move(file)) {}

    void add(std::uint32_t level, const koraclient::LevelSnapshot& snapshot);
    void addMissing(std::uint32_t level) { m_levels.push_back({.level = level, .isMissing = true}); }

    void printText(std::ostream& out) const override;
    nlohmann::ordered_json toJson() const override;
    /// False when a level does not exist or an output could not be saved.
    bool isAllDone() const override;

private:
    struct Level
    {
        std::uint32_t level = 0;
        std::size_t outputs = 0;
        std::size_t routes = 0;
        std::size_t held = 0;
        std::size_t unsaved = 0;
        bool isMissing = false;
    };

    std::string m_file;
    std::vector<Level> m_levels;
};

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
