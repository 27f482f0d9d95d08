#include "tools/korapanel/model/EventLog.h"

#include <charconv>

namespace korapanel
{

std::string EventLog::format(std::uint64_t revision, const std::string& name, const std::string& data)
{
    return "id: " + std::to_string(revision) + "\nevent: " + name + "\ndata: " + data + "\n\n";
}

std::uint64_t EventLog::append(const std::string& name, const std::string& data)
{
    ++m_last;
    m_events.push_back(std::make_shared<const std::string>(format(m_last, name, data)));
    m_bytes += m_events.back()->size();
    while (m_events.size() > mostEvents || (m_bytes > mostBytes && m_events.size() > 1))
    {
        m_bytes -= m_events.front()->size();
        m_events.pop_front();
    }
    return m_last;
}

SharedText EventLog::after(std::uint64_t revision) const
{
    if (revision >= m_last || !holdsAllAfter(revision))
    {
        return nullptr;
    }
    return m_events[m_events.size() - static_cast<std::size_t>(m_last - revision)];
}

bool EventLog::holdsAllAfter(std::uint64_t revision) const
{
    return revision <= m_last && m_last - revision <= m_events.size();
}

std::optional<std::uint64_t> parseEventId(const std::string& text)
{
    std::uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end)
    {
        return std::nullopt;
    }
    return value;
}

} // namespace korapanel
