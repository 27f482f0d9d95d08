#include "tools/korapanel/api/PressKeys.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace korapanel
{

std::optional<Reply> PressKeys::begin(const std::string& who, const std::string& key, const std::string& content,
                                      const Reply& reply, Clock::time_point now)
{
    const std::size_t hash = std::hash<std::string>{}(content);
    Answer answer;
    {
        const std::lock_guard lock(m_mutex);
        keepBounds(now);
        const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                        [&](const auto& each) { return each->key == key && each->who == who; });
        if (found == m_entries.end())
        {
            auto entry = std::make_shared<Entry>(Entry{.who = who,
                                                       .key = key,
                                                       .size = content.size(),
                                                       .hash = hash,
                                                       .bytes = 0,
                                                       .begun = now,
                                                       .answer = {},
                                                       .waiting = {reply}});
            m_entries.push_back(entry);
            return [this, entry](const Answer& given) { end(entry, given); };
        }
        Entry& known = **found;
        if (known.size != content.size() || known.hash != hash)
        {
            answer = refusal(422, "other-press", "This key came with another press before.");
        }
        else if (!known.answer)
        {
            known.waiting.push_back(reply);
            return std::nullopt;
        }
        else
        {
            answer = *known.answer;
        }
    }
    reply(answer);
    return std::nullopt;
}

void PressKeys::end(const std::shared_ptr<Entry>& entry, const Answer& answer)
{
    std::vector<Reply> waiting;
    {
        const std::lock_guard lock(m_mutex);
        waiting = std::exchange(entry->waiting, {});
        const auto place = std::find(m_entries.begin(), m_entries.end(), entry);
        if (place != m_entries.end() && answer.status != 200)
        {
            (void)drop(place);
        }
        else if (place != m_entries.end())
        {
            entry->answer = answer;
            entry->bytes = answer.body->size();
            m_bytes += entry->bytes;
        }
    }
    for (const Reply& reply : waiting)
    {
        reply(answer);
    }
}

void PressKeys::keepBounds(Clock::time_point now)
{
    for (auto place = m_entries.begin(); place != m_entries.end();)
    {
        const Entry& entry = **place;
        const bool isOver = m_entries.size() >= most || m_bytes > mostBytes;
        place = now - entry.begun >= longestTime || (isOver && entry.answer) ? drop(place) : std::next(place);
    }
}

PressKeys::Entries::iterator PressKeys::drop(Entries::iterator place)
{
    m_bytes -= (*place)->bytes;
    return m_entries.erase(place);
}

} // namespace korapanel
