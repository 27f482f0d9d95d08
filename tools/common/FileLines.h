#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace koractl
{

/// A file that the user named cannot be read or written, or says what it must not; the text names the file and the
/// line.
class FileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Hands each line of a text file that is neither empty nor a comment (first character that is no blank: #) to `read`,
/// with its number from 1. What `read` throws as std::invalid_argument is a complaint about that line; all complaints
/// (the first ten) are thrown together as one FileError, each led by the file's name and the line's number. Ends of
/// lines may be those of Windows. A line of more than 64 KiB ends it with a FileError.
void forEachLine(std::istream& in, const std::string& fileName,
                 const std::function<void(const std::string& line, std::size_t number)>& read);

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
