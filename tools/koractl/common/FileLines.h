#pragma once

#include <functional>
#include <iosfwd>
#include <string>

namespace koractl
{

/// Hands each line of a text file that is neither empty nor a comment (first character that is no blank: #) to `read`,
/// with its number from 1. What `read` throws as std::invalid_argument is a complaint about that line; all complaints
/// (the first ten) are thrown together as one FileError, each led by the file's name and the line's number. Ends of
/// lines may be those of Windows.
void forEachLine(std::istream& in, const std::string& fileName,
                 const std::function<void(const std::string& line, std::size_t number)>& read);

} // namespace koractl
