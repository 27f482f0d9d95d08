#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace koractl
{

/// Reads one line of a text file word by word; blanks and tabs separate words. A word may stand in double quotes and
/// then hold blanks. Views the line, which must outlive it. Plain value.
class LineScanner
{
public:
    explicit LineScanner(std::string_view line) : m_rest(line) { skipBlanks(); }

    bool isAtEnd() const { return m_rest.empty(); }
    /// The next word without its quotes; empty at the end. Throws std::invalid_argument when a quote is not closed.
    std::string word();
    /// Takes the next word when it is `wanted`, unquoted.
    bool take(std::string_view wanted);
    /// What is left, without blanks at its end.
    std::string rest() const;

private:
    void skipBlanks();

    std::string_view m_rest;
};

} // namespace koractl
