#include "koracommand/PartitionInfoRsp.h"

#include "koracommand/WireLayout.h"

namespace layout = wireLayout::partitionInfoRsp;

PartitionInfoRsp::PartitionInfoRsp(const WireReader& request) : Pooled(request, wireLayout::rspId::partitionInfo)
{
    std::size_t offset = layout::words;
    for (const std::uint32_t word : layout::fixedWords)
    {
        setWord(offset, word);
        offset += wireLayout::wordBytes;
    }
    setLength(layout::length);
}
