#pragma once

#include "tests/fakes/FakeBridge.h"

#include <cstdint>
#include <vector>

/// Answers requests as a bridge whose level 1 has outputs and inputs 0 to 9 would. Output n shows input n, but output 5
/// is locked by 50, output 6 protected by 60, and output 7 shows no input of the level. Takes and locks are judged, not
/// carried out. The first changes request reports output 1 and output 5, later ones nothing. A plain handler.
class FakeRouter
{
public:
    FakeReply operator()(const koraclient::Message& request, std::uint32_t sequence);

private:
    FakeReply entryList(const koraclient::Message& request, std::uint32_t sequence, bool isTake) const;
    FakeReply status(const koraclient::Message& request, std::uint32_t sequence, bool isTally) const;
    FakeReply changes(const koraclient::Message& request, std::uint32_t sequence);
    /// Result, input, state, holder.
    static std::vector<std::uint32_t> statusOf(std::uint32_t level, std::uint32_t output);

    bool m_areChangesTold = false;
};
