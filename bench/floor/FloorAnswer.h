#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "bench/support/BusEndpoint.h"

namespace bench
{

/// Carries out one request in network order and puts its answer, in network order too, into `response` (8192 bytes);
/// returns the answer's length. Each entry of a take, coherent take or set output LPR is one write; no entry is
/// checked, nothing is kept, and the answers to queries are made up: their lengths are the bridge's, and every output
/// shows the input of its own number. Ids that load tests have no use for get the error response.
std::size_t answer(std::span<const std::uint8_t> request, std::span<std::uint8_t> response, Writer<Output>& targets);

} // namespace bench
