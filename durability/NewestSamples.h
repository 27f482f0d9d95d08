#pragma once

#include "durability/HandOver.h"
#include "durability/TypeCodec.h"

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace com::tallowcrest::durability
{

/// Of everything that was handed over, the newest sample of each instance: all that is ever kept. So the work for a
/// batch hardly grows with the number of its samples, and a recorder that has fallen behind catches up. Keeps its
/// memory from one batch to the next. Not thread-safe.
class NewestSamples
{
public:
    struct Sample
    {
        const std::string* instance; ///< until the next `find`
        std::size_t index;           ///< into the batch
    };

    /// In the order in which each instance came first. Of two with the same time the later one is taken. Valid until
    /// the next call.
    const std::vector<Sample>& find(const HandOver::Batch& batch, const TypeCodec& codec)
    {
        m_places.clear();
        m_samples.clear();
        for (std::size_t i = 0; i < batch.size(); ++i)
        {
            const auto [place, isNew] =
                m_places.try_emplace(codec.instanceText(&batch.samples[i * codec.sampleSize]), m_samples.size());
            if (isNew)
            {
                m_samples.push_back({&place->first, i});
            }
            else if (batch.times[i] >= batch.times[m_samples[place->second].index])
            {
                m_samples[place->second].index = i;
            }
        }
        return m_samples;
    }

private:
    std::unordered_map<std::string, std::size_t> m_places; ///< in m_samples
    std::vector<Sample> m_samples;
};

} // namespace com::tallowcrest::durability
