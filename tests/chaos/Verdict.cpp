#include "tests/chaos/Verdict.h"

#include <iostream>

namespace chaos
{

void Verdict::violation(const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    ++m_count;
    if (m_texts.size() < maxTexts)
    {
        m_texts.push_back(text);
        std::cerr << "VIOLATION: " << text << std::endl;
    }
}

std::size_t Verdict::count() const
{
    const std::lock_guard lock(m_mutex);
    return m_count;
}

std::vector<std::string> Verdict::texts() const
{
    const std::lock_guard lock(m_mutex);
    return m_texts;
}

} // namespace chaos
