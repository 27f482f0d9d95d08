#pragma once

#include <map>
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
    void violation(const std::string& kind, const std::string& text);
    std::size_t count() const;
    std::map<std::string, std::size_t> counts() const;
    std::vector<std::string> texts() const;

private:
    static constexpr std::size_t maxTextsOfAKind = 20;

    mutable std::mutex m_mutex;
    std::vector<std::string> m_texts;
    std::map<std::string, std::size_t> m_counts;
};

} // namespace chaos
