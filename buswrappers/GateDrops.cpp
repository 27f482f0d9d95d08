#include "buswrappers/GateDrops.h"

#include "bustypes/SampleCheck.h"
#include "runtime/util/Metrics.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <utility>

namespace com::tallowcrest::routing
{

namespace
{

namespace fault = dds_::routing::fault;

constexpr std::string_view name = "korabridge_gate_dropped_total";
constexpr std::string_view help = "Samples of the bus that no handler has seen, by what was wrong with them.";

struct Reason
{
    std::string_view fault;
    std::string_view label;
};
constexpr std::array reasons{Reason{fault::partitionText, R"(reason="partition_text")"},
                             Reason{fault::wildcard, R"(reason="partition_wildcard")"},
                             Reason{fault::name, R"(reason="name_text")"},
                             Reason{fault::topology, R"(reason="topology")"},
                             Reason{fault::levelSize, R"(reason="level_size")"},
                             Reason{fault::beyondNumbers, R"(reason="block_range")"}};

template <std::size_t... I>
std::array<util::Counter, sizeof...(I)> unsoundCounters(std::index_sequence<I...>)
{
    return {util::Counter(name, help, reasons[I].label)...};
}

std::array<util::Counter, reasons.size()> unsound = unsoundCounters(std::make_index_sequence<reasons.size()>{});
util::Counter turnedAway(name, help, R"(reason="no_place")");
util::Counter other(name, help, R"(reason="other")");

} // namespace

void countTurnedAway()
{
    turnedAway.add();
}

void countUnsound(std::string_view fault)
{
    const auto reason =
        std::find_if(reasons.begin(), reasons.end(), [&](const Reason& one) { return one.fault == fault; });
    (reason == reasons.end() ? other : unsound[static_cast<std::size_t>(reason - reasons.begin())]).add();
}

} // namespace com::tallowcrest::routing
