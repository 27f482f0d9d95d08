#include "durability/SampleTable.h"

#include <cstring>

namespace com::tallowcrest::durability
{

bool SampleTable::isNewer(const void* sample, SourceTime written, const KeptSample& kept) const
{
    if (written != kept.written)
    {
        return written > kept.written;
    }
    // Two writers at the same microsecond, neither knowing of the other. The text decides, as it is the same anywhere.
    return std::memcmp(sample, kept.sample.data(), m_codec.sampleSize) != 0 &&
           m_codec.payloadText(sample) > m_codec.payloadText(kept.sample.data());
}

SampleTable::Change SampleTable::apply(const std::string& instance, const void* sample, SourceTime written)
{
    const auto found = m_samples.find(instance);
    if (found == m_samples.end() && m_samples.size() >= maxInstances)
    {
        return Change::Refused;
    }
    if (found != m_samples.end() && !isNewer(sample, written, found->second))
    {
        return Change::None;
    }
    KeptSample& kept = found != m_samples.end() ? found->second : m_samples[instance];
    const auto* const bytes = static_cast<const std::byte*>(sample);
    kept.instance = instance;
    kept.written = written;
    kept.sample.assign(bytes, bytes + m_codec.sampleSize);
    return Change::Stored;
}

const KeptSample* SampleTable::find(const std::string& instance) const
{
    const auto found = m_samples.find(instance);
    return found == m_samples.end() ? nullptr : &found->second;
}

} // namespace com::tallowcrest::durability
