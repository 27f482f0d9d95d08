#include "runtime/util/HttpSign.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>

namespace com::tallowcrest::util
{

namespace
{

/// Four bytes of each method tell it from the others, and from all else that is said here.
constexpr std::size_t methodBytes = 4;
constexpr std::array<std::string_view, 9> methods{"GET ", "HEAD", "POST", "PUT ", "DELE",
                                                  "CONN", "OPTI", "TRAC", "PATC"};
constexpr std::string_view hostField = "host:";

bool isHostField(std::string_view text)
{
    return std::equal(text.begin(), text.end(), hostField.begin(), hostField.end(),
                      [](char byte, char wanted) { return std::tolower(static_cast<unsigned char>(byte)) == wanted; });
}

} // namespace

bool HttpSign::feed(std::string_view bytes)
{
    for (const char byte : bytes)
    {
        take(byte);
    }
    return m_isSeen;
}

void HttpSign::take(char byte)
{
    if (byte == '\r' || byte == '\n')
    {
        m_lineBegin.clear();
        m_isFirstLine = false;
        return;
    }
    if (m_lineBegin.size() == hostField.size())
    {
        return;
    }
    m_lineBegin += byte;
    if (m_lineBegin.size() == methodBytes && (m_isFirstLine || m_methods == Methods::OnEveryLine))
    {
        m_isSeen = m_isSeen || std::find(methods.begin(), methods.end(), m_lineBegin) != methods.end();
    }
    m_isSeen = m_isSeen || isHostField(m_lineBegin);
}

} // namespace com::tallowcrest::util
