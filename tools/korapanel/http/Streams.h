#pragma once

#include "tools/korapanel/access/Sessions.h"
#include "tools/korapanel/model/PanelModel.h"

#include <microhttpd.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <string>

namespace korapanel
{

/// The event streams to browsers. Each reads the model's events at its own pace and keeps nothing itself; one that
/// falls so far behind that its next event is gone is dropped. Thread-safe.
class Streams
{
public:
    static constexpr std::size_t most = 256;
    /// A stream without an event says something after so long, to find out whether somebody is there.
    static constexpr std::chrono::seconds keepAlive{15};

    explicit Streams(const PanelModel& model) : m_model(model) {}
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    /// The response that streams to a connection from the revision that the browser saw last; null when there are too
    /// many. Called on the server's thread.
    MHD_Response* open(MHD_Connection* connection, const std::string& lastEventId, const Identity& identity);
    /// There may be something new to send.
    void wake();
    /// Keeps alive, and ends what has expired. Every second or so.
    void tick(std::int64_t now);
    /// Ends the streams of a session; all of them, and all that come, with nothing.
    void end(const std::optional<std::string>& session);
    std::size_t count() const { return m_count; }

private:
    using Clock = std::chrono::steady_clock;

    struct Stream
    {
        Streams& all;
        MHD_Connection* connection;
        Identity identity;
        std::uint64_t revision; ///< of the event that was taken last
        SharedText current{};   ///< what is being sent
        std::size_t sent = 0;   ///< of it
        Clock::time_point lastSent = Clock::now();
        bool isSuspended = false;
        bool isEnding = false;
        std::list<Stream>::iterator place{};
    };

    static ssize_t read(void* stream, std::uint64_t position, char* buffer, std::size_t size);
    static void close(void* stream);
    ssize_t fill(Stream& stream, char* buffer, std::size_t size);
    /// The next text for a stream; false when its connection is to be dropped. Null when there is none.
    bool next(Stream& stream);
    void resume(Stream& stream);

    const PanelModel& m_model;
    std::mutex m_mutex; ///< of all below
    std::list<Stream> m_streams;
    std::atomic<std::size_t> m_count{0};
    bool m_isStopped = false;
};

} // namespace korapanel
