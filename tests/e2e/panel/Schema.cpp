#include "tests/e2e/panel/Schema.h"

#include <algorithm>
#include <regex>

namespace
{

using nlohmann::json;

bool hasType(const json& value, const std::string& type)
{
    return (type == "object" && value.is_object()) || (type == "array" && value.is_array()) ||
           (type == "string" && value.is_string()) || (type == "boolean" && value.is_boolean()) ||
           (type == "integer" && value.is_number_integer()) || (type == "number" && value.is_number()) ||
           (type == "null" && value.is_null());
}

std::string typeFault(const json& value, const json& types)
{
    const auto isOne = [&value](const json& type) { return hasType(value, type.get<std::string>()); };
    const bool isFine = types.is_array() ? std::any_of(types.begin(), types.end(), isOne) : isOne(types);
    return isFine ? "" : value.dump() + " is no " + types.dump();
}

std::string membersFault(const json& value, const json& schema, const json& document)
{
    const json none = json::object();
    const json& known = schema.contains("properties") ? schema["properties"] : none;
    for (const auto& [name, member] : value.items())
    {
        const json& others = schema.contains("additionalProperties") ? schema["additionalProperties"] : none;
        if (schema.contains("propertyNames") &&
            !std::regex_search(name, std::regex(schema["propertyNames"].at("pattern").get<std::string>())))
        {
            return "a member must not be called " + name;
        }
        if (!known.contains(name) && others.is_boolean() && !others.get<bool>())
        {
            return "the member " + name + " is not described";
        }
        const std::string fault = faultOf(member, known.contains(name) ? known[name] : others, document);
        if (!fault.empty())
        {
            return name + ": " + fault;
        }
    }
    return "";
}

std::string requiredFault(const json& value, const json& names)
{
    for (const json& name : names)
    {
        if (!value.contains(name.get<std::string>()))
        {
            return "the member " + name.get<std::string>() + " is missing";
        }
    }
    return "";
}

std::string itemsFault(const json& value, const json& schema, const json& document)
{
    for (const json& item : value)
    {
        const std::string fault = faultOf(item, schema, document);
        if (!fault.empty())
        {
            return "[] " + fault;
        }
    }
    return "";
}

std::string keywordFault(const std::string& word, const json& wanted, const json& value, const json& schema,
                         const json& document)
{
    if (word == "type")
    {
        return typeFault(value, wanted);
    }
    if (word == "$ref")
    {
        return faultOf(value, document.at(json::json_pointer(wanted.get<std::string>().substr(1))), document);
    }
    if (word == "properties" || word == "additionalProperties" || word == "propertyNames")
    {
        return value.is_object() ? membersFault(value, schema, document) : "";
    }
    if (word == "required")
    {
        return value.is_object() ? requiredFault(value, wanted) : "";
    }
    if (word == "items")
    {
        return value.is_array() ? itemsFault(value, wanted, document) : "";
    }
    if (word == "minItems" || word == "maxItems")
    {
        const bool isFine =
            word == "minItems" ? value.size() >= wanted.get<std::size_t>() : value.size() <= wanted.get<std::size_t>();
        return isFine ? "" : "there are " + std::to_string(value.size()) + " entries";
    }
    if (word == "minimum" || word == "maximum")
    {
        const bool isFine = !value.is_number() || (word == "minimum" ? value >= wanted : value <= wanted);
        return isFine ? "" : value.dump() + " is beyond " + word;
    }
    if (word == "enum")
    {
        return std::find(wanted.begin(), wanted.end(), value) != wanted.end() ? "" : value.dump() + " is none of these";
    }
    if (word == "pattern")
    {
        return std::regex_search(value.get<std::string>(), std::regex(wanted.get<std::string>()))
                   ? ""
                   : value.dump() + " does not look like that";
    }
    return word == "description" || word == "default" ? "" : "this test does not know the word " + word;
}

} // namespace

std::string faultOf(const json& value, const json& schema, const json& document)
{
    for (const auto& [word, wanted] : schema.items())
    {
        const std::string fault = keywordFault(word, wanted, value, schema, document);
        if (!fault.empty())
        {
            return fault;
        }
    }
    return "";
}
