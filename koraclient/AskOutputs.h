#pragma once

#include "koraclient/KoraClient.h"
#include "koraclient/KoraTypes.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace koraclient
{

/// Lock state of an output and the lprId stored with it.
struct OutputLpr
{
    std::uint32_t state = 0; ///< see `LprState`
    std::uint32_t lprId = 0;

    bool isHeld() const { return state != static_cast<std::uint32_t>(LprState::released); }
    /// "released", "locked by 5", "protected by 12".
    std::string text() const;
    bool operator==(const OutputLpr&) const = default;
};

/// One output with what it shows and who holds it. Plain value.
struct OutputRow
{
    std::uint32_t output = 0;
    std::uint32_t result = 0;     ///< result code of the query; 3: none of the level's inputs is routed
    std::uint32_t input = 0;      ///< meaningful only when `result` is 0
    std::optional<OutputLpr> lpr; ///< absent where the message does not carry it

    bool operator==(const OutputRow&) const = default;

    /// The input's number, "-" when no input of the level is routed.
    std::string inputText() const;
    /// "released", "locked by 5", "protected by 12"; empty without lpr.
    std::string stateText() const;
};

/// One answer to an output changes request as rows; `more` says that another request may bring more.
struct ChangeRows
{
    std::vector<OutputRow> rows;
    bool more = false;
};

/// One request: up to 679 rows without lock state in format 1, up to 64 with it in any other. Throws what the client
/// throws, as all of these do.
ChangeRows askChanges(KoraClient& client, std::uint32_t format, std::uint32_t level);

/// Asks for the changes of a level, answer by answer, while there is more. What claims to be a bridge and says so for
/// ever is found out: `mostAnswers` is nearly twice what the largest level needs in the longest format. Owned by one
/// thread.
class ChangesWalk
{
public:
    static constexpr std::size_t mostAnswers = 2048;

    ChangesWalk(KoraClient& client, std::uint32_t format, std::uint32_t level)
        : m_client(client), m_format(format), m_level(level)
    {}

    /// The next answer. Throws `ProtocolError` when the last one allowed still says that there is more.
    ChangeRows next();

private:
    KoraClient& m_client;
    const std::uint32_t m_format;
    const std::uint32_t m_level;
    std::size_t m_answers = 0;
};

/// An unknown level reports no changes, which looks like a quiet one; a status query tells them apart.
bool askLevelExists(KoraClient& client, std::uint32_t level);

/// Every output of a level by its number, with its route and its lock state.
using LevelSnapshot = std::map<std::uint32_t, OutputRow>;

/// Asks a fresh connection for all outputs of a level: to it every output is changed. What changes meanwhile is in it.
/// Nothing when the level does not exist. The connection's changes of the level are used up.
std::optional<LevelSnapshot> askSnapshot(KoraClient& client, std::uint32_t level);

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
