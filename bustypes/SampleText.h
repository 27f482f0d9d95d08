#pragma once

#include "bustypes/TypeSupport.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>

/// Bus values as text that people can read and that is the same on every machine.
namespace com::tallowcrest::dds_::routing
{

/// A text that is to be one JSON object.
class JsonObject
{
public:
    /// False when the text is something else; then nothing can be read.
    explicit JsonObject(const std::string& text);
    ~JsonObject();
    JsonObject(const JsonObject&) = delete;
    JsonObject& operator=(const JsonObject&) = delete;

    explicit operator bool() const { return m_json != nullptr; }
    /// False, and `value` is as it was, when there is no such member or it is of another type.
    bool read(const char* name, std::string& value) const;
    /// The same, also when the number is over `largest`.
    bool read(const char* name, std::uint64_t& value, std::uint64_t largest) const;

private:
    std::unique_ptr<const nlohmann::json> m_json;
};

/// Appends one value as JSON. Bytes that are no UTF-8 are replaced: what another process put into a string must not
/// stop the writing.
void appendJson(std::string& text, const std::string& value);
void appendJson(std::string& text, std::uint64_t value);

/// The key members of a value, separated by commas: "7", "17,3".
template <typename T>
std::string keyText(const T& value)
{
    std::string text;
    visitMembers<T>([&](const auto& member) {
        if (member.role != MemberRole::Key)
        {
            return;
        }
        text += text.empty() ? "" : ",";
        const auto& key = value.*member.inValue;
        if constexpr (std::is_same_v<std::remove_cvref_t<decltype(key)>, std::string>)
        {
            text += key;
        }
        else
        {
            text += std::to_string(key);
        }
    });
    return text;
}

/// The key of a type that has one key member, of 32 bits.
template <typename T>
std::uint32_t keyNumber(const T& value)
{
    std::uint32_t number = 0;
    visitMembers<T>([&](const auto& member) {
        if constexpr (requires { number = value.*member.inValue; })
        {
            if (member.role == MemberRole::Key)
            {
                number = value.*member.inValue;
            }
        }
    });
    return number;
}

/// All members of a value as one JSON object, in the order of the IDL; enumerators are numbers.
template <typename T>
std::string jsonText(const T& value)
{
    // Written straight into the text, with room for most: this runs for every take.
    constexpr std::size_t usualLength = 256;
    std::string text;
    text.reserve(usualLength);
    visitMembers<T>([&](const auto& member) {
        text += text.empty() ? "{\"" : ",\"";
        text += member.name;
        text += "\":";
        appendJson(text, value.*member.inValue);
    });
    text += '}';
    text.shrink_to_fit(); // the newest of each output is kept
    return text;
}

/// Reads what `jsonText` wrote; members that are not named are left out of the reading. False, and `value` is as it
/// was, when the text is no JSON object, a member is missing, of another type, out of range or over its bound.
template <typename T>
bool parseJson(const std::string& text, T& value)
{
    const JsonObject json(text);
    T parsed;
    bool isGood = static_cast<bool>(json);
    visitMembers<T>([&](const auto& member) {
        auto& target = parsed.*member.inValue;
        using Target = std::remove_reference_t<decltype(target)>;
        if constexpr (std::is_same_v<Target, std::string>)
        {
            isGood = isGood && json.read(member.name, target);
        }
        else
        {
            // Enumerators are of 32 bits without a sign, like the numbers.
            constexpr auto largest = std::numeric_limits<std::make_unsigned_t<Target>>::max();
            std::uint64_t number = 0;
            isGood = isGood && json.read(member.name, number, largest);
            target = static_cast<Target>(number);
        }
    });
    // A string over its bound would be cut on the way to the bus, and name another instance.
    isGood = isGood && TypeSupport<T>::fromBus(TypeSupport<T>::toBus(parsed)) == parsed;
    if (isGood)
    {
        value = parsed;
    }
    return isGood;
}

/// True when both say the same of the same instance, whenever it takes effect.
template <typename T>
bool sameButWhen(const T& left, T right)
{
    visitMembers<T>([&](const auto& member) {
        if (member.role == MemberRole::When)
        {
            right.*member.inValue = left.*member.inValue;
        }
    });
    return left == right;
}

} // namespace com::tallowcrest::dds_::routing
