#include "bustypes/SampleText.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "bustypes/Members.h"
#include "bustypes/TypeSupport.h"

namespace com::tallowcrest::dds_::routing
{

namespace
{

template <typename Member>
auto plain(const Member& member)
{
    if constexpr (std::is_enum_v<Member>)
    {
        return static_cast<std::underlying_type_t<Member>>(member);
    }
    else
    {
        return member;
    }
}

template <typename Member>
bool readMember(const nlohmann::json& json, Member& member)
{
    if constexpr (std::is_same_v<Member, std::string>)
    {
        if (!json.is_string())
        {
            return false;
        }
        member = json.get<std::string>();
        return true;
    }
    else
    {
        using Number = decltype(plain(member));
        if (!json.is_number_unsigned() || json.get<std::uint64_t>() > std::numeric_limits<Number>::max())
        {
            return false;
        }
        member = static_cast<Member>(json.get<Number>());
        return true;
    }
}

template <typename Member>
void addJson(std::string& text, const Member& member)
{
    if constexpr (std::is_same_v<Member, std::string>)
    {
        // Bytes that are no UTF-8 are replaced: what another process put into a string must not stop the writing.
        text += nlohmann::json(member).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
    else
    {
        std::array<char, std::numeric_limits<std::uint64_t>::digits10 + 1> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), plain(member)).ptr;
        text.append(digits.data(), end);
    }
}

} // namespace

template <typename T>
std::string keyText(const T& value)
{
    std::string text;
    visitMembers(value, [&text](const char*, const auto& member, MemberRole role) {
        if (role != MemberRole::Key)
        {
            return;
        }
        text += text.empty() ? "" : ",";
        if constexpr (std::is_same_v<std::remove_cvref_t<decltype(member)>, std::string>)
        {
            text += member;
        }
        else
        {
            text += std::to_string(member);
        }
    });
    return text;
}

template <typename T>
std::string jsonText(const T& value)
{
    // Written straight into the text: this runs for every take.
    std::string text;
    visitMembers(value, [&text](const char* name, const auto& member, MemberRole) {
        text += text.empty() ? "{\"" : ",\"";
        text += name;
        text += "\":";
        addJson(text, member);
    });
    return text + '}';
}

template <typename T>
bool parseJson(const std::string& text, T& value)
{
    const auto json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object())
    {
        return false;
    }
    T parsed;
    bool good = true;
    visitMembers(parsed, [&](const char* name, auto& member, MemberRole) {
        const auto found = json.find(name);
        good = good && found != json.end() && readMember(*found, member);
    });
    // A string over its bound would be cut on the way to the bus, and name another instance.
    good = good && jsonText(TypeSupport<T>::fromBus(TypeSupport<T>::toBus(parsed))) == jsonText(parsed);
    if (good)
    {
        value = parsed;
    }
    return good;
}

template <typename T>
bool sameButWhen(const T& left, const T& right)
{
    const auto withoutWhen = [](T value) {
        visitMembers(value, [](const char*, auto& member, MemberRole role) {
            if (role == MemberRole::When)
            {
                member = {};
            }
        });
        return jsonText(value);
    };
    return withoutWhen(left) == withoutWhen(right);
}

// NOLINTBEGIN(bugprone-macro-parentheses): a template argument takes none
#define KORABRIDGE_SAMPLE_TEXT(TYPE)                                                                                   \
    template std::string keyText<TYPE>(const TYPE&);                                                                   \
    template std::string jsonText<TYPE>(const TYPE&);                                                                  \
    template bool parseJson<TYPE>(const std::string&, TYPE&);                                                          \
    template bool sameButWhen<TYPE>(const TYPE&, const TYPE&)
// NOLINTEND(bugprone-macro-parentheses)

KORABRIDGE_SAMPLE_TEXT(ComponentInfo);
KORABRIDGE_SAMPLE_TEXT(MacroRouter);
KORABRIDGE_SAMPLE_TEXT(RouterMember);
KORABRIDGE_SAMPLE_TEXT(MacroXptOutput);
KORABRIDGE_SAMPLE_TEXT(MacroLevel);
KORABRIDGE_SAMPLE_TEXT(RouterMemberMacroXpts);

#undef KORABRIDGE_SAMPLE_TEXT

} // namespace com::tallowcrest::dds_::routing
