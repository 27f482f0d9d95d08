#include "tools/korapanel/access/Access.h"

#include "runtime/util/Metrics.h"
#include "runtime/util/ThreadName.h"
#include "tools/korapanel/access/Secret.h"

#include <iostream>
#include <utility>

namespace korapanel
{
namespace
{

com::tallowcrest::util::Counter wrongCounter("korapanel_wrong_tokens_total", "Tokens that were shown and are none.");

/// Who shows a name that has no token waits as long as who shows a wrong secret.
const std::string& anyHash()
{
    static const std::string hash = hashOf("nobody");
    return hash;
}

} // namespace

std::string bearerOf(const std::string& authorization)
{
    static constexpr std::string_view scheme = "Bearer ";
    return authorization.starts_with(scheme) ? authorization.substr(scheme.size()) : "";
}

Access::Access(Settings settings) : m_settings(std::move(settings))
{
    if (!m_settings.tokenFile.empty())
    {
        m_file.emplace(m_settings.tokenFile);
        (void)anyHash();
        m_thread = std::thread([this] { run(); });
    }
}

Access::~Access()
{
    stop();
}

void Access::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_wake.notify_one();
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

std::optional<Identity> Access::identityOf(const std::string& name, const std::string& hash)
{
    const Tokens& tokens = m_file->tokens();
    const auto token = tokens.find(name);
    if (token == tokens.end() || token->second.hash != hash)
    {
        return std::nullopt; // withdrawn, or another by now
    }
    return Identity{.name = name, .mayControl = m_settings.isControlled && token->second.mayControl};
}

std::optional<Identity> Access::find(const std::string& session, const std::string& token, std::int64_t now)
{
    if (!m_file)
    {
        return Identity{.name = "local", .mayControl = m_settings.isControlled};
    }
    const std::lock_guard lock(m_mutex);
    if (const auto shown = cutToken(token))
    {
        const auto known = m_shown.find(shown->name);
        return known != m_shown.end() && isSameSecret(known->second.secret, shown->secret)
                   ? identityOf(shown->name, known->second.hash)
                   : std::nullopt;
    }
    const Sessions::Session* const found = m_sessions.find(session, now);
    if (found == nullptr)
    {
        return std::nullopt;
    }
    auto identity = identityOf(found->token, found->hash);
    if (identity)
    {
        identity->expires = found->expires;
        identity->session = session;
    }
    return identity;
}

void Access::check(const std::string& token, const std::string& address, std::function<void(const Verdict&)> done)
{
    Verdict verdict{.kind = Verdict::Kind::busy};
    {
        const std::lock_guard lock(m_mutex);
        const std::chrono::seconds wait = m_throttle.waitOf(address, Throttle::Clock::now());
        if (wait.count() > 0)
        {
            verdict = {.kind = Verdict::Kind::wait, .wait = wait};
        }
        else if (!m_isStopping && m_checks.size() < mostChecks)
        {
            m_checks.push_back({.token = token, .address = address, .done = std::move(done)});
            m_wake.notify_one();
            return;
        }
    }
    done(verdict);
}

void Access::run()
{
    com::tallowcrest::util::nameThread("Token check");
    std::unique_lock lock(m_mutex);
    for (;;)
    {
        m_wake.wait(lock, [this] { return m_isStopping || !m_checks.empty(); });
        if (m_checks.empty())
        {
            return;
        }
        const Check check = std::move(m_checks.front());
        m_checks.pop_front();
        const bool isStopping = m_isStopping;
        lock.unlock();
        check.done(isStopping ? Verdict{.kind = Verdict::Kind::busy} : verdictOf(check));
        lock.lock();
    }
}

Access::Verdict Access::verdictOf(const Check& check)
{
    const auto shown = cutToken(check.token);
    std::string hash;
    {
        const std::lock_guard lock(m_mutex);
        // Of many that one address sends at once, those behind a wrong one wait, too.
        const std::chrono::seconds wait = m_throttle.waitOf(check.address, Throttle::Clock::now());
        if (wait.count() > 0)
        {
            return {.kind = Verdict::Kind::wait, .wait = wait};
        }
        const Tokens& tokens = m_file->tokens();
        const auto token = shown ? tokens.find(shown->name) : tokens.end();
        hash = token == tokens.end() ? "" : token->second.hash;
    }
    const bool isRight = isHashOf(hash.empty() ? anyHash() : hash, shown ? shown->secret : "") && !hash.empty();
    const std::lock_guard lock(m_mutex);
    auto identity = isRight ? identityOf(shown->name, hash) : std::nullopt;
    if (!identity)
    {
        m_throttle.failed(check.address, Throttle::Clock::now());
        wrongCounter.add();
        std::cerr << "korapanel: wrong token from " << check.address << (shown ? " for " + shown->name : "")
                  << std::endl;
        return {.kind = Verdict::Kind::wrong};
    }
    m_throttle.succeeded(check.address);
    m_shown[shown->name] = {.secret = shown->secret, .hash = hash};
    return {.kind = Verdict::Kind::known, .identity = std::move(*identity)};
}

Identity Access::beginSession(const Identity& identity, std::int64_t now)
{
    const std::lock_guard lock(m_mutex);
    Identity result = identity;
    result.expires = now + m_settings.sessionTime.count();
    result.session =
        m_sessions.begin({.token = identity.name, .hash = m_shown[identity.name].hash, .expires = *result.expires});
    return result;
}

void Access::endSession(const std::string& session)
{
    const std::lock_guard lock(m_mutex);
    m_sessions.end(session);
}

} // namespace korapanel
