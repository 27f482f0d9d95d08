#include "koracommand/MessageCopy.h"

#include "koracommand/WireLayout.h"

#include <algorithm>
#include <cstring>

std::unique_ptr<KoraMessageBuffer> convertedCopy(std::span<const std::uint8_t> message)
{
    const std::size_t words = std::min(message.size(), KoraMessageBuffer::capacity) / wireLayout::wordBytes;
    const std::size_t bytes = words * wireLayout::wordBytes;

    auto copy = std::make_unique<KoraMessageBuffer>();
    const std::span<std::uint8_t> destination = copy->grow(bytes);
    // Both sides hold all these bytes, so no word needs to be checked on its own.
    for (std::size_t offset = 0; offset < bytes; offset += wireLayout::wordBytes)
    {
        std::uint32_t word = 0;
        std::memcpy(&word, message.data() + offset, sizeof(word));
        word = hostToBigEndian(word);
        std::memcpy(destination.data() + offset, &word, sizeof(word));
    }
    return copy;
}
