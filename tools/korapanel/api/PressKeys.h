#pragma once

#include "tools/korapanel/http/Message.h"

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace korapanel
{

/// The keys that presses came with: whoever gets no answer sends the same press under the same key again, which is
/// answered as the first was, and not done again. Only presses that reached the bridge are kept, for a time and within
/// bounds; one that was refused before has done nothing, and may be tried again. Thread-safe.
class PressKeys
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t longestKey = 255;
    static constexpr std::size_t most = 1024;
    static constexpr std::size_t mostBytes = 2UL * 1024 * 1024; ///< of the answers
    static constexpr std::chrono::minutes longestTime{10};

    /// `who` names the token, `content` is all that makes out the press. Returns how a press under a new key is to be
    /// answered, once; nothing when `reply` has its answer, or gets that of the first press when it comes.
    std::optional<Reply> begin(const std::string& who, const std::string& key, const std::string& content,
                               const Reply& reply, Clock::time_point now);

private:
    struct Entry
    {
        std::string who;
        std::string key;
        std::size_t size = 0;  ///< of the content
        std::size_t hash = 0;  ///< of the content: finds mistakes; whoever makes two fit harms only themselves
        std::size_t bytes = 0; ///< of the answer
        Clock::time_point begun;
        std::optional<Answer> answer;
        std::vector<Reply> waiting; ///< for the answer
    };
    using Entries = std::list<std::shared_ptr<Entry>>;

    void end(const std::shared_ptr<Entry>& entry, const Answer& answer);
    /// Under the lock, as is `drop`.
    void keepBounds(Clock::time_point now);
    Entries::iterator drop(Entries::iterator place);

    std::mutex m_mutex; ///< of what follows
    Entries m_entries;  ///< the oldest first
    std::size_t m_bytes = 0;
};

} // namespace korapanel
