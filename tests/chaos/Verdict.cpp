#include "tests/chaos/Verdict.h"

#include <iostream>

namespace chaos
{

void Verdict::violation(const std::string& kind, const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    if (++m_counts[kind] <= maxTextsOfAKind)
    {
        m_texts.push_back(text);
        std::cerr << "VIOLATION: " << text << std::endl;
    }
}

std::size_t Verdict::count() const
{
    const std::lock_guard lock(m_mutex);
    std::size_t sum = 0;
    for (const auto& [kind, count] : m_counts)
    {
        sum += count;
    }
    return sum;
}

std::map<std::string, std::size_t> Verdict::counts() const
{
    const std::lock_guard lock(m_mutex);
    return m_counts;
}

std::vector<std::string> Verdict::texts() const
{
    const std::lock_guard lock(m_mutex);
    return m_texts;
}

} // namespace chaos
