#pragma once

#include "tools/korapanel/access/Sessions.h"
#include "tools/korapanel/access/Throttle.h"
#include "tools/korapanel/access/TokenFile.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace korapanel
{

/// Knows who may ask for what. Without a token file everybody who reaches the panel may look, and press with
/// `isControlled`. Tokens that nobody showed yet are checked on a thread of its own, because that takes long on
/// purpose. Thread-safe.
class Access
{
public:
    struct Settings
    {
        std::string tokenFile; ///< empty: none
        bool isControlled = false;
        std::chrono::seconds sessionTime = std::chrono::hours(12);
    };

    /// What became of a token that was shown.
    struct Verdict
    {
        enum class Kind
        {
            known,
            wrong,
            wait, ///< the address has to wait before it may try again
            busy, ///< too many are being checked
        };
        Kind kind = Kind::wrong;
        std::chrono::seconds wait{0};
        Identity identity{};
    };

    /// Tokens that wait to be checked.
    static constexpr std::size_t mostChecks = 8;

    /// Throws koractl::FileError, and std::system_error when there is no thread.
    explicit Access(Settings settings);
    ~Access();
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;

    bool hasTokens() const { return m_file.has_value(); }
    /// By the cookie, or by a token that was checked before.
    std::optional<Identity> find(const std::string& session, const std::string& token, std::int64_t now);
    /// Checks a token; `done` runs on this thread or on that of the checks, always.
    void check(const std::string& token, const std::string& address, std::function<void(const Verdict&)> done);
    /// Begins a session for whoever showed a token; its secret is in the identity.
    Identity beginSession(const Identity& identity, std::int64_t now);
    void endSession(const std::string& session);
    /// Answers what waits as busy and ends the thread. Idempotent.
    void stop();

private:
    struct Check
    {
        std::string token;
        std::string address;
        std::function<void(const Verdict&)> done;
    };

    void run();
    Verdict verdictOf(const Check& check);
    /// Under the lock.
    std::optional<Identity> identityOf(const std::string& name, const std::string& hash);

    const Settings m_settings;
    std::mutex m_mutex; ///< of all below but the thread
    std::condition_variable m_wake;
    std::optional<TokenFile> m_file;
    Sessions m_sessions;
    Throttle m_throttle;
    struct Shown
    {
        std::string secret;
        std::string hash;
    };
    std::map<std::string, Shown> m_shown; ///< tokens that were found right, by name
    std::deque<Check> m_checks;
    bool m_isStopping = false;
    std::thread m_thread;
};

/// The token of an Authorization header; empty when it holds none.
std::string bearerOf(const std::string& authorization);

} // namespace korapanel
