#pragma once

#include "bench/korabench/CommandMix.h"

#include <cstdint>
#include <vector>

namespace korabench
{

/// What the requests of one controller ask for.
struct RequestShape
{
    std::uint32_t level = 1;
    std::uint32_t firstOutput = 1; ///< of the level
    std::uint32_t outputs = 288;   ///< of the level
    std::uint32_t firstInput = 1;
    std::uint32_t inputs = 288;
    std::uint32_t entries = 1; ///< in a take, protect or release
    std::uint32_t count = 288; ///< outputs in a tally or status
    std::uint32_t format = 0;  ///< of a status, of changes and of a system status
    std::uint32_t lprId = 1;
    /// Where this controller's takes begin within the level, so that controllers do not all take the same outputs.
    std::uint32_t offset = 0;
    /// Every output shows the input of its own number, and an answer that says otherwise is wrong.
    bool isIdentity = false;
};

/// One request, encoded but for its tag, and what its response must be like.
struct Request
{
    Command command = Command::Take;
    RequestShape shape;
    std::vector<std::uint8_t> bytes;
    std::uint32_t responseId = 0;
};

/// The requests that a controller sends in turn, over and over: the order of the mix, twice, so that each take moves
/// its outputs to another input than the take before. Throws std::length_error when the entries do not fit a message.
std::vector<Request> buildRequests(const std::vector<Command>& order, const RequestShape& shape);

} // namespace korabench
