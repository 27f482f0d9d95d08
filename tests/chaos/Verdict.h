#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace chaos
{

/// Collects what must never happen. Thread-safe. Says each of the first ones on standard error at once, counts the
/// rest.
class Verdict
{
public:
    void violation(const std::string& text);
    std::size_t count() const;
    std::vector<std::string> texts() const;

private:
    static constexpr std::size_t maxTexts = 50;

    mutable std::mutex m_mutex;
    std::vector<std::string> m_texts;
    std::size_t m_count = 0;
};

} // namespace chaos
