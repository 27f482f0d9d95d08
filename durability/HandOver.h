#pragma once

#include "durability/SourceTime.h"

#include <cstddef>
#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

namespace com::tallowcrest::durability
{

/// What writers have written and the recorder has not yet seen, in order. A writer's thread holds the lock for one copy
/// of a sample, the recorder's for an exchange of two vectors: neither waits for anything else. No allocation once the
/// vectors have grown to what comes between two looks of the recorder.
class HandOver
{
public:
    struct Batch
    {
        std::vector<std::byte> samples; ///< one after the other
        std::vector<SourceTime> times;

        std::size_t size() const { return times.size(); }
        void clear()
        {
            samples.clear();
            times.clear();
        }
    };

    /// What there is memory for from the start.
    static constexpr std::size_t initialSamples = 1024;

    explicit HandOver(std::size_t sampleSize) : m_sampleSize(sampleSize), m_batch(makeBatch()) {}

    /// Takes a copy. True when nothing was waiting before: only then does the recorder need to be woken.
    bool push(const void* sample, SourceTime written)
    {
        const std::lock_guard lock(m_mutex);
        const std::size_t offset = m_batch.samples.size();
        m_batch.samples.resize(offset + m_sampleSize);
        std::memcpy(&m_batch.samples[offset], sample, m_sampleSize);
        m_batch.times.push_back(written);
        return offset == 0;
    }
    /// Gives what has been pushed in exchange for `batch`, which is emptied first.
    void exchange(Batch& batch)
    {
        batch.clear();
        const std::lock_guard lock(m_mutex);
        std::swap(m_batch, batch);
    }

    /// Gives back what a burst has made `batch` and the one that the writers fill grow to. Drops what `batch` holds.
    void shrink(Batch& batch)
    {
        batch = makeBatch();
        Batch fresh = makeBatch();
        const std::lock_guard lock(m_mutex);
        if (m_batch.times.empty())
        {
            std::swap(m_batch, fresh);
        }
    }

private:
    Batch makeBatch() const
    {
        Batch batch;
        batch.samples.reserve(initialSamples * m_sampleSize);
        batch.times.reserve(initialSamples);
        return batch;
    }

    const std::size_t m_sampleSize;
    std::mutex m_mutex;
    Batch m_batch;
};

} // namespace com::tallowcrest::durability
