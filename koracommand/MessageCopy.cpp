#include "koracommand/MessageCopy.h"

#include "koracommand/WireLayout.h"

#include <algorithm>

std::unique_ptr<KoraMessageBuffer> convertedCopy(std::span<const std::uint8_t> message)
{
    const std::size_t words = std::min(message.size(), KoraMessageBuffer::capacity) / wireLayout::wordBytes;
    const std::size_t bytes = words * wireLayout::wordBytes;
    const WireReader source(message);

    auto copy = std::make_unique<KoraMessageBuffer>();
    copy->resize(bytes);
    const WireWriter destination = copy->writer();
    for (std::size_t offset = 0; offset < bytes; offset += wireLayout::wordBytes)
    {
        destination.setHostWordAt(offset, source.bigEndianWordAt(offset));
    }
    return copy;
}
