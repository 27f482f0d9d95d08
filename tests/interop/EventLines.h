#pragma once

#include <string>

/// Writes whole lines to standard output, each flushed at once, so that a test can wait for them. Thread-safe.
void printEventLine(const std::string& line);
