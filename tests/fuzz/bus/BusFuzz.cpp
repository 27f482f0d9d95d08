// Fuzzes what the bus hands to the bridge: samples of all types, and what bridges tell each other on the companion
// topics.

#include "tests/fuzz/bus/CheckNeighbours.h"
#include "tests/fuzz/bus/CheckSample.h"

#include <cstddef>
#include <cstdint>

/// The first byte says which; then samples, one after the other, or what neighbours do.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Feed feed({data, size});
    if (feed.coin())
    {
        fuzz::checkNeighbours(feed);
        return 0;
    }
    while (!feed.isEmpty())
    {
        fuzz::checkSample(feed);
    }
    return 0;
}
