#include "tools/korapanel/http/Streams.h"

#include "runtime/util/Metrics.h"

#include <algorithm>
#include <memory>

namespace korapanel
{
namespace
{

com::tallowcrest::util::Gauge streamsGauge("korapanel_streams", "Event streams to browsers that are open.");
com::tallowcrest::util::Counter droppedCounter("korapanel_streams_dropped_total",
                                               "Event streams that were ended because nobody read them.");

constexpr std::size_t blockBytes = 4096;

} // namespace

MHD_Response* Streams::open(MHD_Connection* connection, const std::string& lastEventId, const Identity& identity)
{
    const std::lock_guard lock(m_mutex);
    if (m_streams.size() >= most)
    {
        return nullptr;
    }
    const auto seen = parseEventId(lastEventId);
    const std::uint64_t last = m_model.lastRevision();
    const bool isCurrent = seen && m_model.holdsAllAfter(*seen);
    m_streams.push_back(
        {.all = *this, .connection = connection, .identity = identity, .revision = isCurrent ? *seen : last});
    Stream& stream = m_streams.back();
    stream.place = std::prev(m_streams.end());
    // Something at once in any case, so that the browser knows that it is connected.
    stream.current = std::make_shared<const std::string>(isCurrent ? ":\n\n" : EventLog::format(last, "resync", "{}"));
    MHD_Response* const response =
        MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, blockBytes, &Streams::read, &stream, &Streams::close);
    if (response == nullptr)
    {
        m_streams.pop_back();
        return nullptr;
    }
    m_count = m_streams.size();
    streamsGauge.set(static_cast<std::int64_t>(m_streams.size()));
    return response;
}

ssize_t Streams::read(void* stream, std::uint64_t, char* buffer, std::size_t size)
{
    Stream& self = *static_cast<Stream*>(stream);
    return self.all.fill(self, buffer, size);
}

void Streams::close(void* stream)
{
    Stream& self = *static_cast<Stream*>(stream);
    Streams& all = self.all;
    const std::lock_guard lock(all.m_mutex);
    all.m_streams.erase(self.place);
    all.m_count = all.m_streams.size();
    streamsGauge.set(static_cast<std::int64_t>(all.m_streams.size()));
}

ssize_t Streams::fill(Stream& stream, char* buffer, std::size_t size)
{
    const std::lock_guard lock(m_mutex);
    std::size_t filled = 0;
    while (filled < size)
    {
        if (!stream.current && !next(stream))
        {
            droppedCounter.add();
            return MHD_CONTENT_READER_END_WITH_ERROR;
        }
        if (!stream.current)
        {
            break;
        }
        const std::size_t part = std::min(size - filled, stream.current->size() - stream.sent);
        std::copy_n(stream.current->data() + stream.sent, part, buffer + filled);
        filled += part;
        stream.sent += part;
        if (stream.sent == stream.current->size())
        {
            stream.current.reset();
            stream.sent = 0;
        }
    }
    if (filled > 0)
    {
        stream.lastSent = Clock::now();
        return static_cast<ssize_t>(filled);
    }
    if (stream.isEnding || m_isStopped)
    {
        return MHD_CONTENT_READER_END_OF_STREAM;
    }
    stream.isSuspended = true;
    MHD_suspend_connection(stream.connection);
    return 0;
}

bool Streams::next(Stream& stream)
{
    if (stream.isEnding || m_isStopped)
    {
        return true;
    }
    if (!m_model.holdsAllAfter(stream.revision))
    {
        return false;
    }
    stream.current = m_model.eventAfter(stream.revision);
    if (stream.current)
    {
        ++stream.revision;
    }
    else if (Clock::now() - stream.lastSent >= keepAlive)
    {
        stream.current = std::make_shared<const std::string>(":\n\n");
        stream.lastSent = Clock::now();
    }
    return true;
}

void Streams::resume(Stream& stream)
{
    if (stream.isSuspended)
    {
        stream.isSuspended = false;
        MHD_resume_connection(stream.connection);
    }
}

void Streams::wake()
{
    const std::lock_guard lock(m_mutex);
    for (Stream& stream : m_streams)
    {
        resume(stream);
    }
}

void Streams::tick(std::int64_t now)
{
    const std::lock_guard lock(m_mutex);
    for (Stream& stream : m_streams)
    {
        stream.isEnding = stream.isEnding || (stream.identity.expires && *stream.identity.expires <= now);
        if (stream.isEnding || Clock::now() - stream.lastSent >= keepAlive)
        {
            resume(stream);
        }
    }
}

void Streams::end(const std::optional<std::string>& session)
{
    const std::lock_guard lock(m_mutex);
    m_isStopped = m_isStopped || !session;
    for (Stream& stream : m_streams)
    {
        if (!session || stream.identity.session == *session)
        {
            stream.isEnding = true;
            resume(stream);
        }
    }
}

} // namespace korapanel
