#pragma once

#include "tests/support/Places.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

/// Compares a text with the file of that name in golden/ beside the tests, as an expectation of the running test: the
/// first line that differs is shown. With KORACTL_WRITE_GOLDEN in the environment the file is written instead, and the
/// test fails, so that nobody leaves it set.
inline void expectGolden(const std::string& name, const std::string& text)
{
    const std::string path = testsupport::sourceFolder() / "tests/unit/tools/koractl/golden" / name;
    if (std::getenv("KORACTL_WRITE_GOLDEN") != nullptr)
    {
        std::ofstream(path) << text;
        ADD_FAILURE() << name << " was written";
        return;
    }
    std::ifstream file(path);
    ASSERT_TRUE(file) << path << " cannot be read";
    std::istringstream lines(text);
    std::string wanted;
    std::string line;
    for (int number = 1; std::getline(file, wanted); ++number)
    {
        ASSERT_TRUE(std::getline(lines, line)) << name << ":" << number << ": the text ends before: " << wanted;
        ASSERT_EQ(line, wanted) << name << ":" << number;
    }
    EXPECT_FALSE(std::getline(lines, line)) << name << " ends before: " << line;
}
