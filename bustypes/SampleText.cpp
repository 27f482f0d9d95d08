#include "bustypes/SampleText.h"

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>

namespace com::tallowcrest::dds_::routing
{

JsonObject::JsonObject(const std::string& text)
{
    auto json = nlohmann::json::parse(text, nullptr, false);
    if (json.is_object())
    {
        m_json = std::make_unique<const nlohmann::json>(std::move(json));
    }
}

JsonObject::~JsonObject() = default;

bool JsonObject::read(const char* name, std::string& value) const
{
    const auto found = m_json->find(name);
    if (found == m_json->end() || !found->is_string())
    {
        return false;
    }
    value = found->get<std::string>();
    return true;
}

bool JsonObject::read(const char* name, std::uint64_t& value, std::uint64_t largest) const
{
    const auto found = m_json->find(name);
    if (found == m_json->end() || !found->is_number_unsigned() || found->get<std::uint64_t>() > largest)
    {
        return false;
    }
    value = found->get<std::uint64_t>();
    return true;
}

void appendJson(std::string& text, const std::string& value)
{
    text += nlohmann::json(value).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void appendJson(std::string& text, std::uint64_t value)
{
    std::array<char, std::numeric_limits<std::uint64_t>::digits10 + 1> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    text.append(digits.data(), end);
}

} // namespace com::tallowcrest::dds_::routing
