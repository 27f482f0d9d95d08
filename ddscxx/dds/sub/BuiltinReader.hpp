#pragma once

#include "dds/core/Reference.hpp"
#include "dds/detail/Discovery.hpp"
#include "dds/detail/NativeStatus.hpp"
#include "dds/domain/DomainParticipant.hpp"
#include "dds/sub/Sample.hpp"
#include "dds/topic/BuiltinTopic.hpp"

#include <memory>
#include <utility>
#include <vector>

namespace dds::sub
{

/// Reads what discovery finds: `Data` is one of topic::ParticipantBuiltinTopicData, PublicationBuiltinTopicData. Their
/// timestamp is when the participant of this reader found them. A shared handle; thread-safe. Every operation throws
/// dds::core::Error or one of its family when the DDS library refuses.
template <typename Data>
class BuiltinReader : public core::Reference<detail::BuiltinReaderDelegate>
{
public:
    using Reference::Reference;
    explicit BuiltinReader(const domain::DomainParticipant& participant)
        : Reference(std::make_shared<detail::BuiltinReaderDelegate>(participant.delegate(), Topic::handle()))
    {}

    /// All that has come, changed or gone since the last call; first all that is there.
    LoanedSamples<Data> take()
    {
        std::vector<Sample<Data>> samples;
        delegate()->take([&samples](const void* data, const dds_sample_info_t& info) {
            samples.emplace_back(Topic::fromNative(data), detail::fromNative(info));
        });
        return LoanedSamples<Data>(std::move(samples));
    }

private:
    using Topic = detail::BuiltinTopic<Data>;
};

} // namespace dds::sub
