#include "tools/koractl/common/LineScanner.h"

#include <algorithm>
#include <stdexcept>

namespace koractl
{
namespace
{

constexpr std::string_view blanks = " \t";

} // namespace

std::string LineScanner::word()
{
    std::size_t end = 0;
    std::string word;
    if (!m_rest.empty() && m_rest.front() == '"')
    {
        end = m_rest.find('"', 1);
        if (end == std::string_view::npos)
        {
            throw std::invalid_argument("a quotation mark is not closed");
        }
        word = m_rest.substr(1, end - 1);
        ++end;
    }
    else
    {
        end = std::min(m_rest.find_first_of(blanks), m_rest.size());
        word = m_rest.substr(0, end);
    }
    m_rest.remove_prefix(end);
    skipBlanks();
    return word;
}

bool LineScanner::take(std::string_view wanted)
{
    const std::string_view next = m_rest.substr(0, m_rest.find_first_of(blanks));
    if (next != wanted)
    {
        return false;
    }
    m_rest.remove_prefix(next.size());
    skipBlanks();
    return true;
}

std::string LineScanner::rest() const
{
    return std::string(m_rest.substr(0, m_rest.find_last_not_of(blanks) + 1));
}

void LineScanner::skipBlanks()
{
    m_rest.remove_prefix(std::min(m_rest.find_first_not_of(blanks), m_rest.size()));
}

} // namespace koractl
