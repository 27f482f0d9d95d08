#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace testsupport
{

/// The bytes of the golden message of that name. Throws std::runtime_error when there is none, or one that names file
/// and line when it is malformed.
std::vector<std::uint8_t> loadVector(const std::string& name);

/// The names of all golden messages, sorted.
std::vector<std::string> vectorNames();

/// Reads the text of a golden message; `source` names it in errors.
std::vector<std::uint8_t> parseVector(const std::string& text, const std::string& source);

} // namespace testsupport
