#pragma once

#include <dds/dds.h>

#include <array>
#include <cstddef>

namespace dds::detail
{
class WriterDelegate;
}

namespace dds::pub
{

/// While one lives, what its thread writes, disposes of or unregisters is gathered, each writer's changes in as few
/// packets as they fit into; they leave the process, in each writer's order, when the batch ends or is flushed, or when
/// a packet is full. Readers in this process are served at once. Without a batch every change is sent before its call
/// returns. So nothing stays behind, whichever way the code between leaves the batch.
///
/// An addition to the standard interface. For one thread and one block of code, on the stack or in whatever brackets
/// it; of nested ones the outermost counts. Waiting for others while one is open is wrong: flush first.
class WriteBatch
{
public:
    WriteBatch() noexcept;
    ~WriteBatch();
    WriteBatch(const WriteBatch&) = delete;
    WriteBatch& operator=(const WriteBatch&) = delete;

    /// Sends what the calling thread has gathered; nothing when it gathers nothing.
    static void flush() noexcept;

private:
    friend class dds::detail::WriterDelegate;

    /// `writer` has something to send: now, or with the calling thread's batch.
    static void send(dds_entity_t writer) noexcept;

    void gather(dds_entity_t writer) noexcept;
    void flushWriters() noexcept;

    /// More writers at once than any bridge has; the one after that begins anew.
    static constexpr std::size_t maxWriters = 8;

    std::array<dds_entity_t, maxWriters> m_writers{};
    std::size_t m_count = 0;
};

} // namespace dds::pub
