#pragma once

#include "tests/fakes/FakeBridge.h"

#include <cstdint>
#include <map>
#include <set>
#include <vector>

/// Answers requests as a bridge whose level 1 has outputs and inputs from 1 to a number would, and carries out takes
/// and locks by the bridge's rules. Every output is changed for a connection whose first request this is. A handler;
/// also used to prepare and look at the level while no client is served.
class FakeLevel
{
public:
    struct Output
    {
        std::uint32_t input = 0; ///< 0: no route
        std::uint32_t state = 0;
        std::uint32_t lprId = 0;

        bool operator==(const Output&) const = default;
    };

    /// Every output n shows input n.
    explicit FakeLevel(std::uint32_t ports);

    FakeReply operator()(const koraclient::Message& request, std::uint32_t sequence);

    Output& output(std::uint32_t number) { return m_outputs.at(number); }
    /// Input refused by takes, as one that no router member offers.
    void refuseInput(std::uint32_t input) { m_refusedInput = input; }

private:
    std::uint32_t take(std::uint32_t level, std::uint32_t lprId, std::uint32_t input, std::uint32_t output);
    std::uint32_t setLpr(std::uint32_t level, std::uint32_t output, std::uint32_t code, std::uint32_t lprId);
    FakeReply entryList(const koraclient::Message& request, std::uint32_t sequence, bool isTake);
    FakeReply status(const koraclient::Message& request, std::uint32_t sequence) const;
    FakeReply changes(const koraclient::Message& request, std::uint32_t sequence);

    std::map<std::uint32_t, Output> m_outputs;
    std::set<std::uint32_t> m_changed;
    std::uint32_t m_refusedInput = 0;
};
