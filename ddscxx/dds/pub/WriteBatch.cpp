#include "dds/pub/WriteBatch.hpp"

#include <algorithm>

namespace dds::pub
{

namespace
{

/// The outermost batch of this thread; null without one.
thread_local WriteBatch* threadsBatch = nullptr;

} // namespace

WriteBatch::WriteBatch() noexcept
{
    if (threadsBatch == nullptr)
    {
        threadsBatch = this;
    }
}

WriteBatch::~WriteBatch()
{
    if (threadsBatch == this)
    {
        flushWriters();
        threadsBatch = nullptr;
    }
}

void WriteBatch::flush() noexcept
{
    if (threadsBatch != nullptr)
    {
        threadsBatch->flushWriters();
    }
}

void WriteBatch::send(dds_entity_t writer) noexcept
{
    if (threadsBatch != nullptr)
    {
        threadsBatch->gather(writer);
    }
    else
    {
        dds_write_flush(writer);
    }
}

void WriteBatch::gather(dds_entity_t writer) noexcept
{
    const auto end = m_writers.begin() + m_count;
    if (std::find(m_writers.begin(), end, writer) != end)
    {
        return;
    }
    if (m_count == maxWriters)
    {
        flushWriters();
    }
    m_writers[m_count++] = writer;
}

void WriteBatch::flushWriters() noexcept
{
    // A writer that has been deleted meanwhile sent what it had; the library does not know its handle any more.
    std::for_each_n(m_writers.begin(), m_count, dds_write_flush);
    m_count = 0;
}

} // namespace dds::pub
