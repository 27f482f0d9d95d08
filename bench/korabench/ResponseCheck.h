#pragma once

#include "bench/korabench/Request.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace korabench
{

/// What is wrong with a response, or nothing. `response` is one whole message in network order, cut by its length word;
/// `tag` is the request's, `sequence` the number of responses that the connection has had before. Takes, protects and
/// releases must all have been done; outputs must have a status; changes must come in ascending order. Allocates
/// nothing for a right response to the commands that load tests are about. Pure.
std::optional<std::string> findFault(const Request& request, std::uint32_t tag, std::uint32_t sequence,
                                     std::span<const std::uint8_t> response);

/// Entries in a right response to changes, and whether it says that there are more.
struct ChangesCount
{
    std::uint32_t entries = 0;
    bool isMore = false;
};
ChangesCount countChanges(std::span<const std::uint8_t> response);

} // namespace korabench
