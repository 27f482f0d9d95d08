#include "buswrappers/DurableTopic.h"

#include <string_view>
#include <utility>

namespace com::tallowcrest::routing
{

namespace
{

/// What stands before and behind the time at which the sample takes effect, in a text that `jsonText` wrote.
std::pair<std::string_view, std::string_view> withoutWhen(std::string_view content)
{
    constexpr std::string_view name = "\"when\":";
    const std::size_t begin = content.find(name);
    if (begin == std::string_view::npos)
    {
        return {content, {}};
    }
    const std::size_t end = content.find_first_not_of("0123456789", begin + name.size());
    return {content.substr(0, begin), end == std::string_view::npos ? std::string_view() : content.substr(end)};
}

} // namespace

int orderButWhen(const std::string& left, const std::string& right)
{
    const auto [leftBegin, leftEnd] = withoutWhen(left);
    const auto [rightBegin, rightEnd] = withoutWhen(right);
    const int order = leftBegin.compare(rightBegin);
    return order != 0 ? order : leftEnd.compare(rightEnd);
}

std::uint64_t digestButWhen(const std::string& content)
{
    // FNV-1a
    std::uint64_t hash = 0xcbf29ce484222325U;
    const auto [begin, end] = withoutWhen(content);
    for (const std::string_view part : {begin, end})
    {
        for (const char letter : part)
        {
            hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001b3U;
        }
    }
    return hash;
}

} // namespace com::tallowcrest::routing
