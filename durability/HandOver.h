#pragma once

#include "durability/SourceTime.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

namespace com::tallowcrest::durability
{

/// What the bridge has written and the recorder has not yet seen, in order. A writer's thread holds the lock for one
/// copy of a value, the recorder's for an exchange of two vectors: neither waits for anything else. No allocation once
/// the vectors have grown to what comes between two looks of the recorder.
class HandOver
{
public:
    struct Written
    {
        SourceTime time = 0;
        bool isHistory = false;   ///< published once more, with its own time
        std::uint64_t ticket = 0; ///< of the join that it follows
    };
    struct Batch
    {
        std::vector<std::byte> values; ///< one after the other
        std::vector<Written> written;

        std::size_t size() const { return written.size(); }
        void clear()
        {
            values.clear();
            written.clear();
        }
    };

    /// What there is memory for from the start: the entries of a message.
    static constexpr std::size_t initialValues = 512;

    explicit HandOver(std::size_t valueSize) : m_valueSize(valueSize), m_batch(makeBatch()) {}

    /// Takes a copy. True when nothing was waiting before: only then does the recorder need to be woken.
    bool push(const void* value, Written written)
    {
        const std::lock_guard lock(m_mutex);
        const std::size_t offset = m_batch.values.size();
        m_batch.values.resize(offset + m_valueSize);
        std::memcpy(&m_batch.values[offset], value, m_valueSize);
        m_batch.written.push_back(written);
        return offset == 0;
    }
    /// Gives what has been pushed in exchange for `batch`, which is emptied first.
    void exchange(Batch& batch)
    {
        batch.clear();
        const std::lock_guard lock(m_mutex);
        std::swap(m_batch, batch);
    }

    bool isEmpty() const
    {
        const std::lock_guard lock(m_mutex);
        return m_batch.written.empty();
    }
    /// Gives back what a burst has made `batch` and the one that the writers fill grow to. Drops what `batch` holds.
    void shrink(Batch& batch)
    {
        batch = makeBatch();
        Batch fresh = makeBatch();
        const std::lock_guard lock(m_mutex);
        if (m_batch.written.empty())
        {
            std::swap(m_batch, fresh);
        }
    }

private:
    Batch makeBatch() const
    {
        Batch batch;
        batch.values.reserve(initialValues * m_valueSize);
        batch.written.reserve(initialValues);
        return batch;
    }

    const std::size_t m_valueSize;
    mutable std::mutex m_mutex;
    Batch m_batch;
};

} // namespace com::tallowcrest::durability
