#pragma once

#include "runtime/misc/StandardInput.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>
#include <utility>

namespace testsupport
{

/// Standard input comes from a pipe while this lives.
class ReplacedInput
{
public:
    ReplacedInput() : m_saved(::dup(STDIN_FILENO))
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(0, ::pipe(ends.data()));
        ::dup2(ends[0], STDIN_FILENO);
        ::close(ends[0]);
        m_writeEnd = ends[1];
        // What an earlier test of the same process did not read.
        auto& input = com::tallowcrest::misc::standardInput();
        while (input.takeLine())
        {}
        input.takeEnd();
    }
    ~ReplacedInput()
    {
        end();
        ::dup2(m_saved, STDIN_FILENO);
        ::close(m_saved);
    }
    ReplacedInput(const ReplacedInput&) = delete;
    ReplacedInput& operator=(const ReplacedInput&) = delete;

    void write(const std::string& text) const
    {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), ::write(m_writeEnd, text.data(), text.size()));
    }
    void end()
    {
        if (m_writeEnd >= 0)
        {
            ::close(std::exchange(m_writeEnd, -1));
        }
    }

private:
    const int m_saved;
    int m_writeEnd = -1;
};

} // namespace testsupport
