#pragma once

#include <string>

namespace koractl
{

/// Writes a file so that its name stands for the old content or for the whole new one, never for a part. Throws
/// FileError.
void writeWholeFile(const std::string& fileName, const std::string& content);

} // namespace koractl
