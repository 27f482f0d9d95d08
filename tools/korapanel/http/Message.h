#pragma once

#include "tools/korapanel/access/Sessions.h"
#include "tools/korapanel/model/EventLog.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace korapanel
{

/// A whole request. Headers that are missing are empty. Plain value.
struct Request
{
    std::string method; ///< HEAD has become GET
    std::string path;   ///< without what follows a question mark
    std::string host;
    std::string origin;
    std::string contentType;
    std::string authorization;
    std::string session; ///< of the panel's cookie
    std::string lastEventId;
    std::string idempotencyKey;
    std::string body;
    bool isTooLarge = false;  ///< the body was longer than the bound and is not here
    std::string address;      ///< of the other end
    std::string localAddress; ///< that it came to
    bool isEncrypted = false;
};

/// What a request is answered. Plain value.
struct Answer
{
    unsigned status = 200;
    std::string contentType = "application/json";
    SharedText body;
    std::map<std::string, std::string> headers{};
    /// An event stream instead of a body, as long as this identity holds.
    std::optional<Identity> stream{};
};

/// Answers a request, once, on any thread, now or later.
using Reply = std::function<void(Answer)>;

inline Answer answerOf(std::string text, unsigned status = 200)
{
    Answer answer;
    answer.status = status;
    answer.body = std::make_shared<const std::string>(std::move(text));
    return answer;
}

/// A refusal in the form that all have; both texts are the program's own and need no quoting.
inline Answer refusal(unsigned status, const std::string& code, const std::string& text)
{
    return answerOf("{\"error\":{\"code\":\"" + code + "\",\"text\":\"" + text + "\"}}", status);
}

} // namespace korapanel
