#pragma once

#include "koraclient/KoraTypes.h"
#include "tools/common/Names.h"
#include "tools/korapanel/access/Access.h"
#include "tools/korapanel/access/Origin.h"
#include "tools/korapanel/api/PressKeys.h"
#include "tools/korapanel/api/PressLog.h"
#include "tools/korapanel/api/Salvos.h"
#include "tools/korapanel/http/Message.h"
#include "tools/korapanel/http/StaticFiles.h"
#include "tools/korapanel/link/BridgeLink.h"
#include "tools/korapanel/model/PanelModel.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace korapanel
{

/// Answers requests: checks where they come from and who asks, and does what they ask. Called on the server's thread,
/// and goes on where a token was checked or the bridge asked: thread-safe, as all is that it is made of and refers to.
class Api
{
public:
    struct Settings
    {
        std::vector<std::uint32_t> levels;
        std::uint32_t lprId = 0; ///< holder as whom the panel takes and locks
    };
    /// What it asks and tells.
    struct Parts
    {
        PanelModel& model;
        BridgeLink& link;
        Access& access;
        const OriginCheck& origins;
        const StaticFiles& files;
        const koractl::Names& names;
        Salvos& salvos;
        PressLog& presses;
        /// Ends the event streams of a session.
        std::function<void(const std::string& session)> endStreams;
    };

    Api(Settings settings, Parts parts) : m_settings(std::move(settings)), m_parts(std::move(parts)) {}

    void handle(const Request& request, const Reply& reply);

private:
    /// What a client is to do on the link's thread.
    using Order = std::function<OrderOutcome(koraclient::KoraClient&)>;

    /// Nothing when the request may have come from here.
    std::optional<Answer> refuseForeign(const Request& request) const;
    /// Anything that needs no identity; nothing when the request needs one.
    std::optional<Answer> answerAnybody(const Request& request);
    void beginSession(const Request& request, const Reply& reply);
    void answerKnown(const Request& request, const Identity& identity, const Reply& reply);
    std::optional<Answer> look(const std::string& path, const Identity& identity);
    Answer endSession(const Request& request, const Identity& identity);
    void press(const Request& request, const Identity& identity, const Reply& reply);
    void pressOnce(const Request& request, const Presser& who, const Reply& reply);
    void pressSalvo(const std::string& name, const Presser& who, const Reply& reply);
    /// `words` as for `PressLog::write`; `entries` what to say that it was not sent.
    void order(const Presser& who, const std::vector<std::string>& words, const std::vector<OrderResult>& entries,
               const Order& send, const Reply& reply);

    const Settings m_settings;
    const Parts m_parts;
    PressKeys m_keys;
};

} // namespace korapanel
