#pragma once

#include "koraclient/KoraTypes.h"

#include <cstdint>
#include <span>
#include <vector>

namespace koraclient
{

/// Builds the bytes of whole requests, 16 to 8192 of them in network order, under one tag, which the response echoes.
/// Pure; mirror image of what the bridge reads. What does not fit a message throws std::length_error. The arguments are
/// those of `KoraClient`.
class RequestEncoder
{
public:
    explicit RequestEncoder(std::uint32_t tag) : m_tag(tag) {}

    /// Gives a whole request another tag, in place: for those who send the same bytes over and over.
    static void setTag(std::span<std::uint8_t> request, std::uint32_t tag);

    /// Any id and up to 2044 payload words.
    std::vector<std::uint8_t> raw(std::uint32_t id, const std::vector<std::uint32_t>& payload) const;

    /// Up to 510 entries.
    std::vector<std::uint8_t> take(const std::vector<TakeEntry>& entries) const;
    std::vector<std::uint8_t> coherentTake(const std::vector<TakeEntry>& entries) const;
    std::vector<std::uint8_t> setOutputLpr(const std::vector<LprEntry>& entries) const;
    std::vector<std::uint8_t> tally(std::uint32_t level, std::uint32_t first, std::uint32_t count) const;
    std::vector<std::uint8_t> outputStatus(std::uint32_t format, std::uint32_t level, std::uint32_t first,
                                           std::uint32_t count) const;
    std::vector<std::uint8_t> outputChanges(std::uint32_t format, std::uint32_t level) const;
    std::vector<std::uint8_t> partitionInfo() const;
    std::vector<std::uint8_t> portPresent() const;
    std::vector<std::uint8_t> systemStatus(std::uint32_t format) const;
    std::vector<std::uint8_t> cardPresence(std::uint32_t word) const;

private:
    /// A message of `length` zero bytes with its header filled in.
    std::vector<std::uint8_t> blank(std::uint32_t id, std::size_t length) const;
    std::vector<std::uint8_t> takeWithId(std::uint32_t id, const std::vector<TakeEntry>& entries) const;

    std::uint32_t m_tag;
};

} // namespace koraclient
