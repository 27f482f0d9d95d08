#pragma once

#include "koracommand/ILevel.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// Records the calls that change something or start a walk; answers as it was told to.
class FakeLevel final : public ILevel
{
public:
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

    std::vector<Call> calls;
    /// Results of takes and LPR calls in order; done when it runs out.
    std::deque<std::uint32_t> results;
    /// Outputs that exist; any other gives invalid destination and leaves the out values alone.
    std::map<std::uint32_t, Status> outputs;
    std::deque<Change> changes;
    /// How often the next change was asked for.
    int changeQueries = 0;
    /// Run at the start of every take.
    std::function<void()> onTake;

    bool isSame(const ILevel& other) const override { return &other == this; }

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

    void noteSourceChange(std::uint32_t /*xptOutput*/) override {}
    void noteLprChange(std::uint32_t /*xptOutput*/) override {}
    void notifyNewConnection(std::uint32_t /*connectionIndex*/) override {}
    void show() const override {}

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
};
