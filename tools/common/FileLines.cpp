#include "tools/common/FileLines.h"

#include "runtime/util/VisibleText.h"

#include <algorithm>
#include <istream>
#include <stdexcept>
#include <string_view>

namespace koractl
{

namespace
{

constexpr std::size_t mostComplaints = 10;
constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";

/// Longer ones are no text of ours: /dev/full gives one without an end.
constexpr std::size_t longestLine = 65536;

/// As std::getline, but stops one byte beyond the longest line.
bool readLine(std::istream& in, std::string& line)
{
    line.clear();
    char next = '\0';
    while (line.size() <= longestLine && in.get(next))
    {
        if (next == '\n')
        {
            return true;
        }
        line.push_back(next);
    }
    return !line.empty();
}

/// True when a terminal draws the line and does nothing else. Tabs may separate words.
bool isDrawn(std::string line)
{
    std::replace(line.begin(), line.end(), '\t', ' ');
    return com::tallowcrest::util::isVisibleText(line);
}

} // namespace

void forEachLine(std::istream& in, const std::string& fileName,
                 const std::function<void(const std::string& line, std::size_t number)>& read)
{
    const std::string file = com::tallowcrest::util::visibleText(fileName);
    std::string complaints;
    std::size_t complaintCount = 0;
    std::size_t number = 0;
    for (std::string line; complaintCount < mostComplaints && readLine(in, line);)
    {
        ++number;
        if (line.size() > longestLine)
        {
            throw FileError(file + ":" + std::to_string(number) + ": the line is longer than " +
                            std::to_string(longestLine) + " bytes");
        }
        if (number == 1 && line.starts_with(byteOrderMark))
        {
            line.erase(0, byteOrderMark.size());
        }
        if (!line.empty() && line.back() == '\r')
        {
            line.pop_back();
        }
        try
        {
            if (!isDrawn(line))
            {
                throw std::invalid_argument("the line is not UTF-8 text, or holds characters that draw nothing");
            }
            const std::size_t first = line.find_first_not_of(" \t");
            if (first != std::string::npos && line[first] != '#')
            {
                read(line, number);
            }
        }
        catch (const std::invalid_argument& problem)
        {
            complaints.append(complaints.empty() ? "" : "\n");
            complaints.append(file).append(":").append(std::to_string(number)).append(": ").append(problem.what());
            ++complaintCount;
        }
    }
    if (complaintCount == 0 && in.bad())
    {
        complaints = file + ": cannot be read";
    }
    if (!complaints.empty())
    {
        throw FileError(complaints);
    }
}

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
