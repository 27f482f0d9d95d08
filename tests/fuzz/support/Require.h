#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

/// What every fuzz harness uses to report a finding.
namespace fuzz
{

/// Ends the process with a message, which libFuzzer and the replay alike count as a finding, when `isMet` is false.
inline void require(bool isMet, const char* what)
{
    if (!isMet)
    {
        static_cast<void>(std::fprintf(stderr, "fuzz: violated: %s\n", what));
        std::abort();
    }
}

inline void require(bool isMet, const std::string& what)
{
    require(isMet, what.c_str());
}

} // namespace fuzz
