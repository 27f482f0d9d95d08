#pragma once

#include "koracommand/KoraMessageBuffer.h"

#include <cstdint>
#include <memory>
#include <span>

/// A copy of a message with every word's bytes reversed: host order to network order and back. Whole words only, at
/// most the largest message. Throws std::bad_alloc when there is no memory for the buffer.
std::unique_ptr<KoraMessageBuffer> convertedCopy(std::span<const std::uint8_t> message);
