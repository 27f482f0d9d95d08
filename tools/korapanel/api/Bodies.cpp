#include "tools/korapanel/api/Bodies.h"

#include <nlohmann/json.hpp>

#include <initializer_list>
#include <limits>
#include <string_view>

namespace korapanel
{
namespace
{

using koraclient::LprCommand;
using koraclient::LprState;
using nlohmann::json;
using nlohmann::ordered_json;

json objectOf(const std::string& body)
{
    json value = json::parse(body, nullptr, false);
    if (!value.is_object())
    {
        throw BadBody("The body is not a JSON object.");
    }
    return value;
}

/// Refuses members that nobody reads.
void checkMembers(const json& object, std::initializer_list<std::string_view> known)
{
    if (!object.is_object())
    {
        throw BadBody("An entry is not a JSON object.");
    }
    for (const auto& member : object.items())
    {
        bool isKnown = false;
        for (const std::string_view name : known)
        {
            isKnown = isKnown || name == member.key();
        }
        if (!isKnown)
        {
            throw BadBody("There is a member that has no meaning here.");
        }
    }
}

std::uint32_t numberIn(const json& object, const char* name)
{
    const auto found = object.find(name);
    if (found == object.end() || !found->is_number_unsigned() ||
        found->get<std::uint64_t>() > std::numeric_limits<std::uint32_t>::max())
    {
        throw BadBody(std::string("The member ") + name + " is missing or no number from 0 to 4294967295.");
    }
    return static_cast<std::uint32_t>(found->get<std::uint64_t>());
}

const json& listIn(const json& object, const char* name)
{
    const auto found = object.find(name);
    if (found == object.end() || !found->is_array() || found->empty() || found->size() > mostEntries)
    {
        throw BadBody(std::string("The member ") + name + " is missing or no list of 1 to " +
                      std::to_string(mostEntries) + " entries.");
    }
    return *found;
}

std::string lineOf(const ordered_json& value)
{
    return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

template <class Value>
ordered_json orNull(const std::optional<Value>& value)
{
    return value ? ordered_json(*value) : ordered_json(nullptr);
}

const char* lockWord(const std::optional<koraclient::OutputLpr>& lpr)
{
    const std::uint32_t state = lpr ? lpr->state : 0;
    return state == static_cast<std::uint32_t>(LprState::locked)        ? "locked"
           : state == static_cast<std::uint32_t>(LprState::isProtected) ? "protected"
                                                                        : "none";
}

ordered_json namesIn(const std::map<std::uint32_t, std::string>& names)
{
    ordered_json object = ordered_json::object();
    for (const auto& [number, name] : names)
    {
        object[std::to_string(number)] = name;
    }
    return object;
}

} // namespace

TakesBody readTakes(const std::string& body, std::uint32_t lprId)
{
    const json object = objectOf(body);
    checkMembers(object, {"coherent", "takes"});
    TakesBody result;
    if (const auto coherent = object.find("coherent"); coherent != object.end())
    {
        if (!coherent->is_boolean())
        {
            throw BadBody("The member coherent is neither true nor false.");
        }
        result.isCoherent = coherent->get<bool>();
    }
    for (const json& entry : listIn(object, "takes"))
    {
        checkMembers(entry, {"level", "output", "input"});
        result.takes.push_back({.level = numberIn(entry, "level"),
                                .lprId = lprId,
                                .input = numberIn(entry, "input"),
                                .output = numberIn(entry, "output")});
    }
    return result;
}

std::vector<koraclient::LprEntry> readLocks(const std::string& body, std::uint32_t lprId)
{
    const json object = objectOf(body);
    checkMembers(object, {"locks"});
    std::vector<koraclient::LprEntry> result;
    for (const json& entry : listIn(object, "locks"))
    {
        checkMembers(entry, {"level", "output", "action"});
        const auto action = entry.find("action");
        const std::string word = action != entry.end() && action->is_string() ? action->get<std::string>() : "";
        if (word != "lock" && word != "protect" && word != "release")
        {
            throw BadBody("The member action is none of lock, protect and release.");
        }
        result.push_back({.level = numberIn(entry, "level"),
                          .output = numberIn(entry, "output"),
                          .command = word == "lock"      ? LprCommand::lock
                                     : word == "protect" ? LprCommand::protect
                                                         : LprCommand::release,
                          .lprId = lprId});
    }
    return result;
}

std::string readToken(const std::string& body)
{
    const json object = objectOf(body);
    checkMembers(object, {"token"});
    const auto token = object.find("token");
    if (token == object.end() || !token->is_string())
    {
        throw BadBody("The member token is missing or no text.");
    }
    return token->get<std::string>();
}

std::string resultsText(const std::vector<OrderResult>& results)
{
    ordered_json list = ordered_json::array();
    for (const OrderResult& result : results)
    {
        list.push_back({{"level", result.level},
                        {"output", result.output},
                        {"input", orNull(result.input)},
                        {"code", orNull(result.code)},
                        {"text", result.text}});
    }
    return lineOf({{"results", std::move(list)}});
}

std::string sessionText(const Identity& identity)
{
    return lineOf({{"name", identity.name}, {"control", identity.mayControl}, {"expires", orNull(identity.expires)}});
}

std::string namesText(const koractl::Names& names, const std::vector<std::uint32_t>& levels)
{
    ordered_json list = ordered_json::array();
    for (const std::uint32_t level : levels)
    {
        list.push_back(
            {{"level", level}, {"inputs", namesIn(names.inputs(level))}, {"outputs", namesIn(names.outputs(level))}});
    }
    return lineOf({{"levels", std::move(list)}});
}

std::string salvosText(const std::vector<Salvos::Entry>& salvos)
{
    ordered_json list = ordered_json::array();
    for (const Salvos::Entry& salvo : salvos)
    {
        list.push_back({{"name", salvo.name}, {"entries", salvo.entries}, {"modified", salvo.modified}});
    }
    return lineOf({{"salvos", std::move(list)}});
}

std::string differenceText(const std::string& name, std::size_t entries, const std::vector<koractl::RestoreStep>& steps)
{
    ordered_json list = ordered_json::array();
    for (const koractl::RestoreStep& step : steps)
    {
        const std::uint32_t now = step.before.result == 0 ? step.before.input : 0;
        const std::uint32_t then = step.wish.route ? step.wish.route->input.value_or(0) : now;
        list.push_back({{"level", step.wish.level},
                        {"output", step.wish.output},
                        {"now", now},
                        {"then", then},
                        {"nowLock", lockWord(step.before.lpr)},
                        {"thenLock", lockWord(step.wish.lpr ? step.wish.lpr : step.before.lpr)},
                        {"text", step.obstacle}});
    }
    return lineOf({{"name", name}, {"difference", std::move(list)}, {"entries", entries}});
}

} // namespace korapanel
