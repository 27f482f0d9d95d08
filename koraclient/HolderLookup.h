#pragma once

#include <cstdint>
#include <optional>

#include "koraclient/KoraClient.h"

namespace koraclient
{

/// Finds out who holds the outputs that one command was refused. The command's own answer is there already and must
/// reach the user: when the bridge does not answer any more, the holders stay unknown and nothing is thrown. Owned by
/// one thread.
class HolderLookup
{
public:
    explicit HolderLookup(KoraClient& client) : m_client(client) {}

    /// Asks the status of an output that was refused as locked or protected. Empty for other results, when the status
    /// does not (or not yet) show the state that the refusal named, and once the bridge failed to answer.
    std::optional<std::uint32_t> ask(std::uint32_t level, std::uint32_t output, std::uint32_t result);

private:
    KoraClient& m_client;
    bool m_hasFailed = false;
};

} // namespace koraclient
