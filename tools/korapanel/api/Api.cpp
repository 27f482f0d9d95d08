#include "tools/korapanel/api/Api.h"

#include "koraclient/Errors.h"
#include "runtime/util/Metrics.h"
#include "tools/korapanel/api/Bodies.h"
#include "tools/korapanel/api/Description.h"

#include <charconv>
#include <exception>
#include <string_view>
#include <utility>

namespace korapanel
{
namespace
{

using koraclient::KoraClient;
using koraclient::LprCommand;

constexpr std::string_view levelsPrefix = "/api/levels/";
constexpr std::string_view outputsSuffix = "/outputs";
constexpr std::string_view salvosPrefix = "/api/salvos/";
constexpr std::string_view takesSuffix = "/takes";

std::int64_t wholeSeconds()
{
    return static_cast<std::int64_t>(secondsNow());
}

Answer noSuchPath()
{
    return refusal(404, "no-such-path", "There is nothing under this path.");
}

Answer wrongMethod(const std::string& allowed)
{
    Answer answer = refusal(405, "wrong-method", "This path does not know the method.");
    answer.headers["Allow"] = allowed;
    return answer;
}

Answer tooManyTries(std::chrono::seconds wait)
{
    Answer answer = refusal(429, "slow-down", "After a wrong token this address has to wait.");
    answer.headers["Retry-After"] = std::to_string(wait.count());
    return answer;
}

Answer answerOf(const Access::Verdict& verdict)
{
    switch (verdict.kind)
    {
    case Access::Verdict::Kind::wait:
        return tooManyTries(verdict.wait);
    case Access::Verdict::Kind::busy:
        return refusal(503, "busy", "Too many tokens are being checked.");
    default:
        return refusal(401, "wrong-token", "This is none of the panel's tokens.");
    }
}

Answer signInFirst()
{
    Answer answer = refusal(401, "not-signed-in", "Sign in with a token first, or the session has ended.");
    answer.headers["WWW-Authenticate"] = "Bearer";
    return answer;
}

Answer text(SharedText body)
{
    Answer answer;
    answer.body = std::move(body);
    return answer;
}

/// What stands between the ends of a path; nothing when it does not have them.
std::optional<std::string> between(const std::string& path, std::string_view prefix, std::string_view suffix)
{
    if (!path.starts_with(prefix) || !path.ends_with(suffix) || path.size() <= prefix.size() + suffix.size())
    {
        return std::nullopt;
    }
    return path.substr(prefix.size(), path.size() - prefix.size() - suffix.size());
}

std::optional<std::uint32_t> numberOf(const std::string& digits)
{
    std::uint32_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

bool isJson(const std::string& contentType)
{
    static constexpr std::string_view json = "application/json";
    return contentType.starts_with(json) && (contentType.size() == json.size() || contentType[json.size()] == ';');
}

const char* wordOf(LprCommand command)
{
    return command == LprCommand::lock ? "lock" : command == LprCommand::protect ? "protect" : "release";
}

} // namespace

void Api::handle(const Request& request, const Reply& reply)
{
    if (auto answer = refuseForeign(request))
    {
        return reply(std::move(*answer));
    }
    if (auto answer = answerAnybody(request))
    {
        return reply(std::move(*answer));
    }
    if (request.path == "/api/session" && request.method == "POST")
    {
        return beginSession(request, reply);
    }
    const std::string token = bearerOf(request.authorization);
    if (const auto identity = m_parts.access.find(request.session, token, wholeSeconds()))
    {
        return answerKnown(request, *identity, reply);
    }
    if (token.empty())
    {
        return reply(signInFirst());
    }
    m_parts.access.check(token, request.address, [this, request, reply](const Access::Verdict& verdict) {
        verdict.kind == Access::Verdict::Kind::known ? answerKnown(request, verdict.identity, reply)
                                                     : reply(answerOf(verdict));
    });
}

std::optional<Answer> Api::refuseForeign(const Request& request) const
{
    if (!m_parts.origins.isKnownHost(request.host, request.localAddress))
    {
        return refusal(403, "unknown-host", "The panel is not known under this name; see the option --name.");
    }
    if (!request.origin.empty() && !OriginCheck::isOwnOrigin(request.origin, request.host))
    {
        return refusal(403, "foreign-origin", "Another page may not ask this panel.");
    }
    if (request.isTooLarge)
    {
        return refusal(413, "too-large", "The body is too large.");
    }
    if (request.method == "POST" && !isJson(request.contentType))
    {
        return refusal(403, "no-json", "The Content-Type must be application/json.");
    }
    return std::nullopt;
}

std::optional<Answer> Api::answerAnybody(const Request& request)
{
    if (request.path == "/api/openapi.json")
    {
        return request.method == "GET" ? text(description()) : wrongMethod("GET");
    }
    auto file = m_parts.files.get(request.path);
    return file && request.method != "GET" ? wrongMethod("GET") : file;
}

void Api::beginSession(const Request& request, const Reply& reply)
{
    std::string token;
    try
    {
        token = readToken(request.body);
    }
    catch (const BadBody& problem)
    {
        return reply(refusal(400, "bad-body", problem.what()));
    }
    if (!m_parts.access.hasTokens())
    {
        return reply(korapanel::answerOf(sessionText(*m_parts.access.find("", "", wholeSeconds()))));
    }
    const bool isSecure = request.isEncrypted || request.origin.starts_with("https://");
    m_parts.access.check(token, request.address, [this, reply, isSecure](const Access::Verdict& verdict) {
        if (verdict.kind != Access::Verdict::Kind::known)
        {
            return reply(answerOf(verdict));
        }
        const std::int64_t now = wholeSeconds();
        const Identity identity = m_parts.access.beginSession(verdict.identity, now);
        Answer answer = korapanel::answerOf(sessionText(identity));
        answer.headers["Set-Cookie"] =
            "korapanel=" + identity.session +
            "; Path=/; HttpOnly; SameSite=Strict; Max-Age=" + std::to_string(*identity.expires - now) +
            (isSecure ? "; Secure" : "");
        reply(std::move(answer));
    });
}

void Api::answerKnown(const Request& request, const Identity& identity, const Reply& reply)
{
    if (request.method == "DELETE" && request.path == "/api/session")
    {
        return reply(endSession(request, identity));
    }
    const bool isPress = request.path == "/api/takes" || request.path == "/api/locks" ||
                         between(request.path, salvosPrefix, takesSuffix).has_value();
    if (isPress)
    {
        return request.method == "POST" ? press(request, identity, reply) : reply(wrongMethod("POST"));
    }
    auto answer = look(request.path, identity);
    if (answer && request.method != "GET")
    {
        answer = wrongMethod(request.path == "/api/session" ? "GET, POST, DELETE" : "GET");
    }
    reply(answer ? std::move(*answer) : noSuchPath());
}

std::optional<Answer> Api::look(const std::string& path, const Identity& identity)
{
    using korapanel::answerOf;
    if (path == "/api/session")
    {
        return answerOf(sessionText(identity));
    }
    if (path == "/metrics")
    {
        Answer answer = answerOf(com::tallowcrest::util::metricsText());
        answer.contentType = "text/plain; version=0.0.4";
        return answer;
    }
    m_parts.link.noteInterest();
    if (path == "/api/events")
    {
        Answer answer;
        answer.contentType = "text/event-stream";
        answer.stream = identity;
        return answer;
    }
    if (path == "/api/state")
    {
        return answerOf(m_parts.model.stateText());
    }
    if (path == "/api/levels")
    {
        return answerOf(m_parts.model.levelsText());
    }
    if (path == "/api/names")
    {
        return answerOf(namesText(m_parts.names, m_settings.levels));
    }
    if (path == "/api/history")
    {
        return answerOf(m_parts.model.historyText(secondsNow()));
    }
    if (path == "/api/salvos")
    {
        return answerOf(salvosText(m_parts.salvos.list()));
    }
    if (const auto level = between(path, levelsPrefix, outputsSuffix))
    {
        const auto number = numberOf(*level);
        SharedText body = number ? m_parts.model.outputsText(*number) : nullptr;
        return body ? text(std::move(body)) : refusal(404, "no-such-level", "The panel has no such level.");
    }
    if (const auto name = between(path, salvosPrefix, ""))
    {
        const auto wishes = m_parts.salvos.read(*name);
        return wishes ? answerOf(differenceText(*name, wishes->size(),
                                                planSalvo(*wishes, m_parts.model.snapshots(), m_settings.lprId)))
                      : refusal(404, "no-such-salvo", "The panel has no such salvo.");
    }
    return std::nullopt;
}

Answer Api::endSession(const Request& request, const Identity& identity)
{
    if (!identity.session.empty())
    {
        m_parts.access.endSession(identity.session);
        m_parts.endStreams(identity.session);
    }
    Answer answer = korapanel::answerOf("{}");
    answer.headers["Set-Cookie"] = std::string("korapanel=; Path=/; HttpOnly; SameSite=Strict; Max-Age=0") +
                                   (request.isEncrypted ? "; Secure" : "");
    return answer;
}

void Api::press(const Request& request, const Identity& identity, const Reply& reply)
{
    if (!identity.mayControl)
    {
        return reply(refusal(403, "read-only", "This panel, or this token, may only look."));
    }
    const Presser who{.name = identity.name, .address = request.address};
    const std::string& key = request.idempotencyKey;
    if (key.empty())
    {
        return pressOnce(request, who, reply);
    }
    if (key.size() > PressKeys::longestKey)
    {
        return reply(refusal(400, "bad-key", "The Idempotency-Key has more than 255 bytes."));
    }
    if (const auto first =
            m_keys.begin(who.name, key, request.path + '\n' + request.body, reply, PressKeys::Clock::now()))
    {
        pressOnce(request, who, *first);
    }
}

void Api::pressOnce(const Request& request, const Presser& who, const Reply& reply)
{
    try
    {
        if (request.path == "/api/takes")
        {
            const TakesBody body = readTakes(request.body, m_settings.lprId);
            std::vector<OrderResult> entries;
            for (const auto& take : body.takes)
            {
                entries.push_back(
                    {.level = take.level, .output = take.output, .input = take.input, .code = {}, .text = {}});
            }
            return order(
                who, {body.isCoherent ? "coherent take" : "take"}, entries,
                [body](KoraClient& client) { return sendTakes(client, body.takes, body.isCoherent); }, reply);
        }
        if (request.path == "/api/locks")
        {
            const auto locks = readLocks(request.body, m_settings.lprId);
            std::vector<OrderResult> entries;
            std::vector<std::string> words;
            for (const auto& lock : locks)
            {
                entries.push_back({.level = lock.level, .output = lock.output, .input = {}, .code = {}, .text = {}});
                words.emplace_back(wordOf(lock.command));
            }
            return order(
                who, words, entries, [locks](KoraClient& client) { return sendLocks(client, locks); }, reply);
        }
        if (!request.body.empty() && request.body != "{}")
        {
            throw BadBody("The body has no meaning here.");
        }
        pressSalvo(*between(request.path, salvosPrefix, takesSuffix), who, reply);
    }
    catch (const BadBody& problem)
    {
        reply(refusal(400, "bad-body", problem.what()));
    }
}

void Api::pressSalvo(const std::string& name, const Presser& who, const Reply& reply)
{
    const auto wishes = m_parts.salvos.read(name);
    if (!wishes)
    {
        return reply(refusal(404, "no-such-salvo", "The panel has no such salvo."));
    }
    std::vector<OrderResult> entries;
    for (const koractl::RestoreStep& step : planSalvo(*wishes, m_parts.model.snapshots(), m_settings.lprId))
    {
        entries.push_back({.level = step.wish.level, .output = step.wish.output, .input = {}, .code = {}, .text = {}});
    }
    order(
        who, {"salvo " + name}, entries,
        [this, wishes = *wishes](KoraClient& client) {
            return sendSalvo(client, planSalvo(wishes, m_parts.model.snapshots(), m_settings.lprId));
        },
        reply);
}

void Api::order(const Presser& who, const std::vector<std::string>& words, const std::vector<OrderResult>& entries,
                const Order& send, const Reply& reply)
{
    const auto refuse = [this, who, words, entries](const char* why) {
        std::vector<OrderResult> unsent = entries;
        for (OrderResult& entry : unsent)
        {
            entry.text = std::string("not sent: ") + why;
        }
        m_parts.presses.write(who, words, unsent);
    };
    const bool isTaken = m_parts.link.submit([this, who, words, send, reply, refuse](KoraClient* client) {
        if (client == nullptr)
        {
            refuse("no connection to the bridge");
            return reply(refusal(503, "no-bridge", "There is no connection to the bridge."));
        }
        const OrderOutcome outcome = send(*client);
        m_parts.presses.write(who, words, outcome.results);
        reply(korapanel::answerOf(resultsText(outcome.results)));
        if (outcome.trouble)
        {
            std::rethrow_exception(outcome.trouble); // the connection is out of step
        }
    });
    if (!isTaken)
    {
        reply(refusal(503, "busy", "Too many orders wait for the bridge."));
    }
}

} // namespace korapanel
