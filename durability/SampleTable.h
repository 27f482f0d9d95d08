#pragma once

#include "durability/SourceTime.h"
#include "durability/TypeCodec.h"

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace com::tallowcrest::durability
{

/// One sample, its instance and when it was written.
struct KeptSample
{
    std::string instance;
    SourceTime written = 0;
    std::vector<std::byte> sample;
};

/// The newest sample of each instance. Of two with the same time all bridges keep the same one, whichever comes first.
/// Not thread-safe.
class SampleTable
{
public:
    /// A topic has some thousands of instances; more than this is a peer that has gone wrong.
    static constexpr std::size_t maxInstances = 65536;

    enum class Change
    {
        None,   ///< not newer than what is there
        Stored, ///< stored
        Refused ///< a new instance, and there are too many
    };

    explicit SampleTable(const TypeCodec& codec) : m_codec(codec) {}

    Change apply(const std::string& instance, const void* sample, SourceTime written);
    /// Null when the instance is unknown.
    const KeptSample* find(const std::string& instance) const;
    std::size_t size() const { return m_samples.size(); }
    const std::unordered_map<std::string, KeptSample>& samples() const { return m_samples; }

private:
    bool isNewer(const void* sample, SourceTime written, const KeptSample& kept) const;

    const TypeCodec& m_codec;
    std::unordered_map<std::string, KeptSample> m_samples;
};

} // namespace com::tallowcrest::durability
