#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

namespace korapanel
{

/// Text that several threads send and nobody changes.
using SharedText = std::shared_ptr<const std::string>;

/// The newest events in the form of an event stream, each with its revision. All streams read from here, so what a
/// browser that does not read leaves behind is kept once, and no more than the bounds say. Not thread-safe.
class EventLog
{
public:
    static constexpr std::size_t mostEvents = 8192;
    static constexpr std::size_t mostBytes = 2UL * 1024 * 1024;

    /// The first event gets the revision after `first`.
    explicit EventLog(std::uint64_t first) : m_last(first) {}

    std::uint64_t lastRevision() const { return m_last; }
    /// Appends an event of that name and returns its revision; `data` is one line.
    std::uint64_t append(const std::string& name, const std::string& data);
    /// The first event behind a revision; nothing when there is none, or not any more.
    SharedText after(std::uint64_t revision) const;
    /// True when every event behind the revision is still here. A revision that was never given out is not.
    bool holdsAllAfter(std::uint64_t revision) const;

    /// An event as it stands in the stream.
    static std::string format(std::uint64_t revision, const std::string& name, const std::string& data);

private:
    std::uint64_t m_last;
    std::size_t m_bytes = 0;
    std::deque<SharedText> m_events; ///< of the revisions up to `m_last`, without gaps
};

/// The revision in a Last-Event-ID header; nothing when it is no number of ours.
std::optional<std::uint64_t> parseEventId(const std::string& text);

} // namespace korapanel
