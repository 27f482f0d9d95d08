#pragma once

#include "koraclient/AskOutputs.h"
#include "koraclient/KoraClient.h"
#include "tools/korapanel/model/PanelModel.h"

#include <cstdint>
#include <map>

namespace korapanel
{

/// Polls the changes of one level and hands them to the model. After a new connection, to which every output is
/// changed, what comes is kept until the bridge has no more to say, so that browsers see only what really differs.
/// A level that the router publishes again, or another router after the bridge has joined that, begins without changes:
/// only a look at the status shows then what it has become. Belongs to the link's thread.
class LevelPoll
{
public:
    LevelPoll(std::uint32_t level, PanelModel& model) : m_level(level), m_model(model) {}

    /// There is a new connection.
    void begin();
    /// One poll. Throws what the client throws.
    void poll(koraclient::KoraClient& client);
    /// Compares what is known with the status, as many outputs at a time as one answer holds, and hands on what
    /// differs. False when the level has other outputs than it had: only a new connection tells them all. Throws what
    /// the client throws.
    bool check(koraclient::KoraClient& client);

private:
    void endResync(koraclient::KoraClient& client);

    std::uint32_t m_level;
    PanelModel& m_model;
    std::map<std::uint32_t, koraclient::OutputRow> m_pending;
    int m_resyncRounds = 0;    ///< how many more polls may pass before what is pending is handed on
    std::uint32_t m_first = 0; ///< output of the level, on this connection
    std::uint32_t m_end = 0;   ///< behind its last; both 0: not known yet
    std::uint32_t m_next = 0;  ///< to be compared
};

} // namespace korapanel
