#pragma once

#include "koracommand/ILevel.h"
#include "runtime/misc/Console.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// Records its calls, steps of a walk aside; answers as it was told to. Levels with the same name are the same, and the
/// name is its line on the console.
class FakeLevel final : public ILevel
{
public:
    explicit FakeLevel(std::string name = {}) : m_name(std::move(name)) {}

    struct Call
    {
        std::string operation;
        std::vector<std::uint32_t> arguments;
        bool operator==(const Call&) const = default;
    };
    struct Status
    {
        std::uint32_t result = 0;
        std::uint32_t controllerInput = 0;
        std::uint32_t lprState = 0;
        std::uint32_t lprId = 0;
    };
    struct Change
    {
        std::uint32_t controllerOutput = 0;
        Status status;
    };

    mutable std::vector<Call> calls;
    /// Results of takes and LPR calls in order; done when it runs out.
    std::deque<std::uint32_t> results;
    /// Outputs that exist; any other gives invalid destination and leaves the out values alone.
    std::map<std::uint32_t, Status> outputs;
    std::deque<Change> changes;
    /// How often the next change was asked for.
    int changeQueries = 0;
    /// Run at the start of every take.
    std::function<void()> onTake;

    /// The calls since the last time, each as "operation argument ...".
    std::vector<std::string> takeCallTexts() const
    {
        std::vector<std::string> texts;
        for (const auto& [operation, arguments] : std::exchange(calls, {}))
        {
            texts.push_back(operation);
            for (const std::uint32_t argument : arguments)
            {
                texts.back() += " " + std::to_string(argument);
            }
        }
        return texts;
    }

    bool isSame(const ILevel& other) const override
    {
        const auto* const level = dynamic_cast<const FakeLevel*>(&other);
        calls.push_back({"isSame " + (level != nullptr ? level->m_name : "other"), {}});
        return level != nullptr && level->m_name == m_name;
    }

    std::uint32_t take(std::uint32_t lprId, std::uint32_t controllerInput, std::uint32_t controllerOutput,
                       std::uint32_t when) override
    {
        if (onTake)
        {
            onTake();
        }
        return record("take", {lprId, controllerInput, controllerOutput, when});
    }

    std::uint32_t setOutputLPR(std::uint32_t controllerOutput, std::uint32_t lprCommand, std::uint32_t lprId,
                               std::uint32_t when) override
    {
        return record("setOutputLPR", {controllerOutput, lprCommand, lprId, when});
    }

    std::uint32_t getOutputStatus(std::uint32_t controllerOutput, std::uint32_t& controllerInput,
                                  std::uint32_t& lprState, std::uint32_t& lprId) override
    {
        calls.push_back({"getOutputStatus", {controllerOutput}});
        const auto found = outputs.find(controllerOutput);
        if (found == outputs.end())
        {
            return 4;
        }
        controllerInput = found->second.controllerInput;
        lprState = found->second.lprState;
        lprId = found->second.lprId;
        return found->second.result;
    }

    void beginOutputChanges(std::uint32_t connectionIndex) override
    {
        calls.push_back({"beginOutputChanges", {connectionIndex}});
    }

    bool getNextOutputChange(std::uint32_t& statusResult, std::uint32_t& controllerOutput,
                             std::uint32_t& controllerInput, std::uint32_t& lprState, std::uint32_t& lprId) override
    {
        ++changeQueries;
        if (changes.empty())
        {
            return false;
        }
        const Change change = changes.front();
        changes.pop_front();
        statusResult = change.status.result;
        controllerOutput = change.controllerOutput;
        controllerInput = change.status.controllerInput;
        lprState = change.status.lprState;
        lprId = change.status.lprId;
        return true;
    }

    void noteSourceChange(std::uint32_t xptOutput) override { calls.push_back({"noteSourceChange", {xptOutput}}); }
    void noteLprChange(std::uint32_t xptOutput) override { calls.push_back({"noteLprChange", {xptOutput}}); }
    void notifyNewConnection(std::uint32_t connectionIndex) override
    {
        calls.push_back({"notifyNewConnection", {connectionIndex}});
    }
    void show() const override { com::tallowcrest::misc::print("%s\n", m_name.c_str()); }

private:
    std::uint32_t record(const char* operation, std::vector<std::uint32_t> arguments)
    {
        calls.push_back({operation, std::move(arguments)});
        if (results.empty())
        {
            return 0;
        }
        const std::uint32_t result = results.front();
        results.pop_front();
        return result;
    }

    std::string m_name;
};
