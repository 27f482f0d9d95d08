#pragma once

#include <string>

/// Compares a text with the file of that name in golden/ beside the tests, as an expectation of the running test: the
/// first line that differs is shown. With KORACTL_WRITE_GOLDEN in the environment the file is written instead, and the
/// test fails, so that nobody leaves it set.
void expectGolden(const std::string& name, const std::string& text);
