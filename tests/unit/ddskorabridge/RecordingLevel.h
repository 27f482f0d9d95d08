#pragma once

#include "koracommand/ILevel.h"
#include "runtime/misc/Console.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Records the notices it is given as text; its line on the console is its name.
class RecordingLevel final : public ILevel
{
public:
    explicit RecordingLevel(std::string name) : m_name(std::move(name)) {}

    bool isSame(const ILevel& other) const override
    {
        const auto* level = dynamic_cast<const RecordingLevel*>(&other);
        calls.push_back("isSame " + (level != nullptr ? level->m_name : "other"));
        return level != nullptr && level->m_name == m_name;
    }
    std::uint32_t take(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) override { return 0; }
    std::uint32_t setOutputLPR(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) override { return 0; }
    std::uint32_t getOutputStatus(std::uint32_t, std::uint32_t&, std::uint32_t&, std::uint32_t&) override { return 0; }
    void beginOutputChanges(std::uint32_t) override {}
    bool getNextOutputChange(std::uint32_t&, std::uint32_t&, std::uint32_t&, std::uint32_t&, std::uint32_t&) override
    {
        return false;
    }
    void noteSourceChange(std::uint32_t xptOutput) override { record("noteSourceChange", xptOutput); }
    void noteLprChange(std::uint32_t xptOutput) override { record("noteLprChange", xptOutput); }
    void notifyNewConnection(std::uint32_t connectionIndex) override { record("notifyNewConnection", connectionIndex); }
    void show() const override { com::tallowcrest::misc::print("%s\n", m_name.c_str()); }

    mutable std::vector<std::string> calls;

private:
    void record(const std::string& name, std::uint32_t argument) const
    {
        calls.push_back(name + " " + std::to_string(argument));
    }

    std::string m_name;
};
