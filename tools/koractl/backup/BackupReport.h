#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "koraclient/AskOutputs.h"
#include "tools/koractl/common/Report.h"

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

} // namespace koractl
